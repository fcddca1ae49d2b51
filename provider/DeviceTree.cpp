#include "provider/DeviceTree.h"

#include "interfaces/ObjectPath.h"
#include "interfaces/UDisks.h"
#include "provider/DaemonObject.h"
#include "provider/DeviceObject.h"
#include "provider/DeviceSource.h"
#include "provider/Dispatch.h"

namespace {

/// The node that lists the devices. It is there for introspection and has no interface of its own.
class DevicesNode : public BusObject
{
public:
    explicit DevicesNode(const DeviceSource& source)
        : _source(source)
    {
    }

    const InterfaceDescription& interface() const override { return InterfaceDescription::none(); }
    BusReply carryOut(const BusCall& /*call*/) const override { return {}; }
    std::optional<QVariant> property(const QString& /*name*/) const override { return std::nullopt; }
    QVariantMap allProperties() const override { return {}; }
    QStringList children() const override
    {
        QStringList names;
        for (const Device* device : _source.devices()) {
            names += device->objectPath.section(QLatin1Char('/'), -1);
        }
        return names;
    }

private:
    const DeviceSource& _source;
};

} // namespace

DeviceTree::DeviceTree(const DeviceSource& source, MountTable& mounts)
    : _source(source)
    , _mounts(mounts)
{
}

BusReply DeviceTree::answer(const BusCall& call) const
{
    if (call.path == UDisks::path()) {
        return Dispatch::answer(call, DaemonObject(_source));
    }
    if (call.path == ObjectPath::Devices) {
        return Dispatch::answer(call, DevicesNode(_source));
    }
    const Device* device = _source.find(call.path);
    return device != nullptr ? Dispatch::answer(call, DeviceObject(*device, _mounts)) : Dispatch::noObject();
}
