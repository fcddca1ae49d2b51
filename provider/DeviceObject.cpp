#include "provider/DeviceObject.h"

#include "provider/DeviceView.h"
#include "provider/NotSupported.h"

DeviceObject::DeviceObject(const Device& device, MountTable& mounts)
    : _device(device)
    , _mounts(mounts)
{
}

const InterfaceDescription& DeviceObject::interface() const
{
    return InterfaceDescription::device();
}

BusReply DeviceObject::carryOut(const BusCall& call) const
{
    return notSupported(call);
}

std::optional<QVariant> DeviceObject::property(const QString& name) const
{
    return DeviceView::property(_device, _mounts, name);
}

QVariantMap DeviceObject::allProperties() const
{
    return DeviceView::allProperties(_device, _mounts);
}
