#include "provider/MachineObject.h"

#include <stdexcept>

#include <QDBusError>

#include "provider/machine/MachineSource.h"

MachineObject::MachineObject(MachineSource& machine, Admission mayControl)
    : _machine(machine)
    , _mayControl(std::move(mayControl))
{
}

const InterfaceDescription& MachineObject::interface() const
{
    return InterfaceDescription::machine();
}

BusReply MachineObject::carryOut(const BusCall& call) const
{
    if (!_mayControl(call.sender)) {
        return BusReply::refusal(QDBusError::errorString(QDBusError::AccessDenied),
                                 QStringLiteral("Only root may plug, pull and change devices"));
    }
    try {
        operate(call);
    } catch (const std::runtime_error& error) {
        return BusReply::refusal(QStringLiteral("org.vorna.vrudisks.Error.Refused"),
                                 QString::fromUtf8(error.what()));
    }
    return {};
}

std::optional<QVariant> MachineObject::property(const QString& /*name*/) const
{
    return std::nullopt;
}

QVariantMap MachineObject::allProperties() const
{
    return {};
}

void MachineObject::operate(const BusCall& call) const
{
    if (call.member == QLatin1String("Plug")) {
        _machine.plug(call.text(0));
    } else if (call.member == QLatin1String("Unplug")) {
        _machine.unplug(call.text(0));
    } else {
        _machine.set(call.text(0), call.text(1), call.text(2));
    }
}
