#include "provider/MachineClient.h"

#include <QDBusError>
#include <QDBusMessage>

#include "interfaces/UDisks.h"
#include "provider/MachineControl.h"

namespace MachineClient {
namespace {

const Outcome Nobody{ExitStatus::Unreachable, "no provider answers on the system bus"};

QDBusMessage callFor(const CommandLine& line)
{
    const auto call = [](const char* method) {
        return QDBusMessage::createMethodCall(UDisks::service(), MachineControl::Path,
                                              QStringLiteral("org.vorna.vrudisks.Machine"),
                                              QString::fromLatin1(method));
    };
    switch (line.action) {
    case CommandLine::Action::Plug:
        return call("Plug") << line.section;
    case CommandLine::Action::Unplug:
        return call("Unplug") << line.section;
    default:
        return call("Set") << line.section << line.key << line.value;
    }
}

Outcome failure(const QDBusError& error)
{
    if (error.name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner")) {
        return Nobody;
    }
    switch (error.type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::NoReply:
    case QDBusError::Disconnected:
        return Nobody;
    case QDBusError::UnknownObject:
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownInterface:
        return {ExitStatus::NotDone, "the provider that runs serves no simulated machine"};
    default:
        return {ExitStatus::NotDone, error.message().toStdString()};
    }
}

} // namespace

Outcome carryOut(const CommandLine& line, const QDBusConnection& bus)
{
    if (!bus.isConnected()) {
        return {ExitStatus::Unreachable, "no provider answers: there is no system bus"};
    }
    QDBusMessage call = callFor(line);
    call.setAutoStartService(false);
    const QDBusMessage reply = bus.call(call);
    return reply.type() == QDBusMessage::ErrorMessage ? failure(QDBusError(reply)) : Outcome();
}

} // namespace MachineClient
