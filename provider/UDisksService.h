#pragma once

#include <QDBusConnection>

#include "kernel/MountTable.h"
#include "provider/BusEndpoint.h"
#include "provider/DeviceSource.h"
#include "provider/DeviceTree.h"

/// Shows the devices of a source on the bus as UDisks 1.
///
/// One endpoint serves every path, straight from the introspection files that the service's proxies are
/// generated from. Adaptors generated from the same files could not serve what the tests need, a property
/// that is missing or has a wrong type, and would need a hand-written answer for each of the fifty methods
/// that are not carried out. Those are answered with the error org.freedesktop.UDisks.Error.NotSupported.
class UDisksService : public BusEndpoint
{
    Q_OBJECT

public:
    UDisksService(DeviceSource& source, const QDBusConnection& bus);

    /// Takes the bus name; whether it is this process's now. Clients read the devices from here on.
    bool takeName();

Q_SIGNALS:
    /// The connection to the bus has ended; nothing can be served any more.
    void busLost();

private:
    BusReply answer(const BusCall& call) override;
    void announce(const char* signalName, const QString& objectPath);

    MountTable _mounts;
    DeviceTree _tree;
    QDBusConnection _bus;
};
