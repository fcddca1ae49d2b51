#pragma once

#include <QByteArray>
#include <QString>

#include "interfaces/UDisks.h"

/// The object paths of devices.
namespace ObjectPath {

inline const QString Devices = UDisks::path() + QStringLiteral("/devices");

/// The path of the device that the kernel calls `kernelName`: every byte outside [A-Za-z0-9] is written as an
/// underscore and two lower-case hexadecimal digits, the underscore itself included (dm-0: .../dm_2d0).
QString ofDevice(const QByteArray& kernelName);

} // namespace ObjectPath
