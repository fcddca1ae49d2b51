#pragma once

#include <QDBusConnection>

#include "provider/BusEndpoint.h"
#include "provider/MachineObject.h"

class MachineSource;

/// The D-Bus interface org.vorna.vrudisks.Machine, by which tests and `vrudisks plug` reach a simulated
/// machine. Only root and the user that the provider runs as may plug, pull and change devices, whatever the
/// bus permits.
class MachineControl : public BusEndpoint
{
    Q_OBJECT

public:
    static const QString Path;

    MachineControl(MachineSource& machine, const QDBusConnection& bus);

private:
    BusReply answer(const BusCall& call) override;
    bool mayControl(const QString& sender) const;

    MachineObject _object;
    QDBusConnection _bus;
};
