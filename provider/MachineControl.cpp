#include "provider/MachineControl.h"

#include <unistd.h>

#include <QDBusConnectionInterface>
#include <QDBusReply>

#include "provider/Dispatch.h"

const QString MachineControl::Path = QStringLiteral("/org/vorna/vrudisks/Machine");

MachineControl::MachineControl(MachineSource& machine, const QDBusConnection& bus)
    : _object(machine, [this](const QString& sender) { return mayControl(sender); })
    , _bus(bus)
{
    _bus.registerVirtualObject(Path, this);
}

BusReply MachineControl::answer(const BusCall& call)
{
    return Dispatch::answer(call, _object);
}

bool MachineControl::mayControl(const QString& sender) const
{
    const QDBusReply<uint> user = _bus.interface()->serviceUid(sender);
    return user.isValid() && (user.value() == 0 || user.value() == geteuid());
}
