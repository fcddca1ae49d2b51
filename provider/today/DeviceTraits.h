#pragma once

#include <QString>

#include "provider/Device.h"

/// The traits of a device that the rules look at. A property that is missing counts as empty, as it does for
/// those who read it.
namespace DeviceTraits {

QString text(const Device& device, const char* property);
bool flag(const Device& device, const char* property);
qlonglong number(const Device& device, const char* property);

void set(Device& device, const char* property, const QVariant& value);

/// The kernel's name of the device, as far as it consists of letters and digits.
QString kernelName(const Device& device);
/// Whether the kernel calls it by this word and a number: "loop0" and its partition "loop0p1".
bool isNumberedDevice(const Device& device, QLatin1String word);

bool isInternalPartition(const Device& device);
/// A file system that is mounted under its own name.
bool isExternalFileSystem(const Device& device);
bool isNtfs(const Device& device);
bool isEfiSystemPartition(const Device& device);
/// The number of its type in an MBR partition table; 0 for any other device.
uint mbrType(const Device& device);
/// Its type in a GPT partition table, in upper case; empty for any other device.
QString gptType(const Device& device);

} // namespace DeviceTraits
