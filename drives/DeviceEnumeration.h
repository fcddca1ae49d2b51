#pragma once

#include <QDBusObjectPath>
#include <QList>

class QDBusUDisksProxy;

/// The devices that UDisks knows, in its order; empty when it does not answer. The first call may have to
/// start UDisks, so it gets the bus's full time; a stop that is asked for meanwhile ends the wait.
QList<QDBusObjectPath> enumerateDevices(QDBusUDisksProxy& udisks);
