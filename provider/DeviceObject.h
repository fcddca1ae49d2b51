#pragma once

#include "provider/BusObject.h"

struct Device;
class MountTable;

/// A device of UDisks 1. It answers questions only.
class DeviceObject : public BusObject
{
public:
    DeviceObject(const Device& device, MountTable& mounts);

    const InterfaceDescription& interface() const override;
    BusReply carryOut(const BusCall& call) const override;
    std::optional<QVariant> property(const QString& name) const override;
    QVariantMap allProperties() const override;

private:
    const Device& _device;
    MountTable& _mounts;
};
