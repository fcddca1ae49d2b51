#include "provider/MachineControl.h"

#include <stdexcept>

#include "machineadaptor.h"
#include "provider/MachineSource.h"

const QString MachineControl::PATH = QStringLiteral("/org/vorna/vrudisks/Machine");

MachineControl::MachineControl(MachineSource& machine, QDBusConnection bus)
    : _machine(machine)
{
    new MachineAdaptor(this);
    bus.registerObject(PATH, this, QDBusConnection::ExportAdaptors);
}

void MachineControl::Plug(const QString& section)
{
    answer([&] { _machine.plug(section); });
}

void MachineControl::Unplug(const QString& section)
{
    answer([&] { _machine.unplug(section); });
}

void MachineControl::Set(const QString& section, const QString& key, const QString& value)
{
    answer([&] { _machine.set(section, key, value); });
}

void MachineControl::answer(const std::function<void()>& operation)
{
    try {
        operation();
    } catch (const std::runtime_error& error) {
        sendErrorReply(QStringLiteral("org.vorna.vrudisks.Error.Refused"), QString::fromUtf8(error.what()));
    }
}
