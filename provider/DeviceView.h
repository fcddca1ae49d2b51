#pragma once

#include <optional>

#include <QString>
#include <QVariantMap>

#include "provider/Device.h"

/// A device as its properties show it at this moment.
namespace DeviceView {

/// The value of one property of the device interface, or nothing if there is no such property.
std::optional<QVariant> property(const Device& device, const QString& name);
QVariantMap allProperties(const Device& device);

} // namespace DeviceView
