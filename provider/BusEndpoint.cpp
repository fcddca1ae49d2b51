#include "provider/BusEndpoint.h"

#include <QDBusConnection>

QString BusEndpoint::introspect(const QString& /*path*/) const
{
    return {};
}

bool BusEndpoint::handleMessage(const QDBusMessage& message, const QDBusConnection& bus)
{
    const BusReply reply = answer({message.service(), message.path(), message.interface(), message.member(),
                                   message.signature(), message.arguments()});
    if (message.isReplyRequired()) {
        bus.send(reply.error.isEmpty() ? message.createReply(reply.values)
                                       : message.createErrorReply(reply.error, reply.message));
    }
    return true;
}
