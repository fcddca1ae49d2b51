#pragma once

#include "provider/BusObject.h"

class DeviceSource;

/// The daemon of UDisks 1: it enumerates the devices of a source and finds them.
class DaemonObject : public BusObject
{
public:
    explicit DaemonObject(const DeviceSource& source);

    const InterfaceDescription& interface() const override;
    BusReply carryOut(const BusCall& call) const override;
    std::optional<QVariant> property(const QString& name) const override;
    QVariantMap allProperties() const override;
    QStringList children() const override;

private:
    const DeviceSource& _source;
};
