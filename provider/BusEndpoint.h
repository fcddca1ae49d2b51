#pragma once

#include <QDBusMessage>
#include <QDBusVirtualObject>

#include "provider/BusCall.h"

/// Where the calls for a path, or for all paths below it, arrive from the bus. A call that wants no reply
/// gets none.
class BusEndpoint : public QDBusVirtualObject
{
    Q_OBJECT

public:
    /// Not asked: introspection is answered like every other call.
    QString introspect(const QString& path) const final;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) final;

protected:
    virtual BusReply answer(const BusCall& call) = 0;
};
