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

/// Whether `file` is the device's node or one of the links to it that its properties name.
bool goesBy(const Device& device, const QString& file);
/// Its node and these links.
QStringList files(const Device& device);
/// Whether the kernel knows it by this number; without a block device behind, whether its properties say so.
bool hasNumber(const Device& device, qlonglong majorNumber, qlonglong minorNumber);

} // namespace DeviceView
