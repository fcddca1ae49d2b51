#pragma once

#include <functional>

#include "provider/BusObject.h"

class MachineSource;

/// The control of a simulated machine, org.vorna.vrudisks.Machine. Anybody may look at it; its methods are
/// carried out for those callers only that `mayControl` admits. A refusal of the machine is answered with the
/// error org.vorna.vrudisks.Error.Refused and its line for the user.
class MachineObject : public BusObject
{
public:
    using Admission = std::function<bool(const QString& sender)>;

    MachineObject(MachineSource& machine, Admission mayControl);

    const InterfaceDescription& interface() const override;
    BusReply carryOut(const BusCall& call) const override;
    std::optional<QVariant> property(const QString& name) const override;
    QVariantMap allProperties() const override;

private:
    void operate(const BusCall& call) const;

    MachineSource& _machine;
    Admission _mayControl;
};
