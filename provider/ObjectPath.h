#pragma once

#include <QByteArray>
#include <QString>

/// The bus name and the object paths of the UDisks 1 interface.
namespace ObjectPath {

inline const QString SERVICE = QStringLiteral("org.freedesktop.UDisks");
inline const QString DAEMON = QStringLiteral("/org/freedesktop/UDisks");
inline const QString DEVICES = QStringLiteral("/org/freedesktop/UDisks/devices");

/// The path of the device that the kernel calls `kernelName`: every byte outside [A-Za-z0-9] is written as an
/// underscore and two lower-case hexadecimal digits, the underscore itself included (dm-0: .../dm_2d0).
QString ofDevice(const QByteArray& kernelName);

} // namespace ObjectPath
