#include "provider/today/Circumstances.h"

#include <algorithm>

#include "interfaces/ServicePaths.h"

namespace {

bool isOn(const Mount& mount, const Device& device)
{
    return mount.number == device.number ||
           mount.source == device.properties.value(QStringLiteral("DeviceFile")).toString().toUtf8();
}

} // namespace

Circumstances Circumstances::of(const std::vector<Mount>& mounts, const BlockStack& blocks,
                                const std::vector<const Device*>& devices)
{
    Circumstances result{RescueMedium::of(mounts, blocks), {}};
    for (const Mount& mount : mounts) {
        const QByteArray name = MountInfo::nameBelow(ServicePaths::FinalRoot, mount);
        const auto device = std::find_if(devices.begin(), devices.end(),
                                         [&](const Device* candidate) { return isOn(mount, *candidate); });
        if (!name.isEmpty() && device != devices.end()) {
            result.names.emplace((*device)->objectPath, QString::fromUtf8(name));
        }
    }
    return result;
}
