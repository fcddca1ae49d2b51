#include "provider/DeviceView.h"

#include "interfaces/InterfaceDescription.h"
#include "interfaces/PropertyValue.h"
#include "kernel/MountTable.h"

namespace DeviceView {
namespace {

const QString DeviceFile = QStringLiteral("DeviceFile");

QStringList mountPaths(const Device& device, MountTable& mounts)
{
    return mounts.mountPaths(device.number, device.properties.value(DeviceFile).toString());
}

QVariant value(const Device& device, MountTable& mounts, const QString& name, const QString& type)
{
    const auto known = device.properties.constFind(name);
    if (known != device.properties.constEnd()) {
        return *known;
    }
    if (name == QLatin1String("DeviceMountPaths")) {
        return mountPaths(device, mounts);
    }
    if (name == QLatin1String("DeviceIsMounted")) {
        return !mountPaths(device, mounts).isEmpty();
    }
    return PropertyValue::empty(type);
}

} // namespace

std::optional<QVariant> property(const Device& device, MountTable& mounts, const QString& name)
{
    const QMap<QString, QString>& all = InterfaceDescription::device().properties();
    const auto description = all.constFind(name);
    if (description == all.constEnd() || device.missing.contains(name)) {
        return std::nullopt;
    }
    return value(device, mounts, name, *description);
}

QVariantMap allProperties(const Device& device, MountTable& mounts)
{
    QVariantMap result;
    for (const QString& name : InterfaceDescription::device().properties().keys()) {
        if (const std::optional<QVariant> shown = property(device, mounts, name)) {
            result.insert(name, *shown);
        }
    }
    return result;
}

} // namespace DeviceView
