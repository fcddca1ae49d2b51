#pragma once

#include <optional>

#include <QString>
#include <QVariantMap>

#include "provider/Device.h"

class MountTable;

/// A device as its properties show it at this moment.
namespace DeviceView {

/// The value of one property of the device interface, or nothing if there is no such property. `mounts` is
/// asked where the device is mounted.
std::optional<QVariant> property(const Device& device, MountTable& mounts, const QString& name);
QVariantMap allProperties(const Device& device, MountTable& mounts);

} // namespace DeviceView
