#include "provider/Dispatch.h"

#include <array>

#include <QDBusError>
#include <QDBusVariant>

#include "provider/BusObject.h"

namespace Dispatch {
namespace {

BusReply standardError(QDBusError::ErrorType type, const QString& message)
{
    return BusReply::refusal(QDBusError::errorString(type), message);
}

BusReply getProperty(const BusCall& call, const BusObject& object)
{
    const std::optional<QVariant> value = object.property(call.text(1));
    return value ? BusReply::of(QVariant::fromValue(QDBusVariant(*value)))
                 : standardError(QDBusError::UnknownProperty, QStringLiteral("No such property"));
}

BusReply answerProperties(const BusCall& call, const BusObject& object)
{
    const QString asked = call.text(0);
    if (!asked.isEmpty() && asked != object.interface().name()) {
        return standardError(QDBusError::UnknownInterface, QStringLiteral("No such interface"));
    }
    if (call.member == QLatin1String("Get")) {
        return getProperty(call, object);
    }
    if (call.member == QLatin1String("GetAll")) {
        return BusReply::of(object.allProperties());
    }
    return standardError(QDBusError::PropertyReadOnly, QStringLiteral("Every property is read-only"));
}

QString nodes(const QStringList& names)
{
    QString result;
    for (const QString& name : names) {
        result += QStringLiteral("\n  <node name=\"%1\"/>").arg(name);
    }
    return result;
}

BusReply introspect(const BusCall& /*call*/, const BusObject& object)
{
    QString document =
        QStringLiteral("<!DOCTYPE node PUBLIC \"-//freedesktop//DTD D-BUS Object Introspection 1.0//EN\"\n"
                       "  \"http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd\">\n<node>");
    for (const InterfaceDescription* interface :
         {&object.interface(), &InterfaceDescription::standardProperties(),
          &InterfaceDescription::standardIntrospectable(), &InterfaceDescription::standardPeer()}) {
        document += QStringLiteral("\n  ") + interface->xml();
    }
    return BusReply::of(document + nodes(object.children()) + QStringLiteral("\n</node>\n"));
}

BusReply carryOut(const BusCall& call, const BusObject& object)
{
    return object.carryOut(call);
}

struct Interface
{
    const InterfaceDescription* description;
    BusReply (*answer)(const BusCall& call, const BusObject& object);
};

/// Peer is missing: the bus library answers it before anybody else sees the call.
std::array<Interface, 3> interfacesOf(const BusObject& object)
{
    return {{{&object.interface(), &carryOut},
             {&InterfaceDescription::standardProperties(), &answerProperties},
             {&InterfaceDescription::standardIntrospectable(), &introspect}}};
}

bool has(const InterfaceDescription& interface, const BusCall& call)
{
    return call.interface.isEmpty() ? interface.methods().contains(call.member)
                                    : interface.name() == call.interface;
}

BusReply answerWith(const Interface& interface, const BusCall& call, const BusObject& object)
{
    const QHash<QString, QString>& methods = interface.description->methods();
    const auto method = methods.constFind(call.member);
    if (method == methods.constEnd()) {
        return standardError(QDBusError::UnknownMethod, QStringLiteral("No such method"));
    }
    if (call.signature != *method) {
        return standardError(QDBusError::InvalidArgs, QStringLiteral("Takes (%1)").arg(*method));
    }
    return interface.answer(call, object);
}

BusReply answerFor(const BusCall& call, const BusObject& object)
{
    for (const Interface& interface : interfacesOf(object)) {
        if (has(*interface.description, call)) {
            return answerWith(interface, call, object);
        }
    }
    return call.interface.isEmpty()
               ? standardError(QDBusError::UnknownMethod, QStringLiteral("No such method"))
               : standardError(QDBusError::UnknownInterface, QStringLiteral("No such interface"));
}

} // namespace

BusReply answer(const BusCall& call, const BusObject& object)
{
    BusReply reply = answerFor(call, object);
    reply.message.truncate(LongestMessage);
    return reply;
}

BusReply noObject()
{
    return standardError(QDBusError::UnknownObject, QStringLiteral("No such object"));
}

} // namespace Dispatch
