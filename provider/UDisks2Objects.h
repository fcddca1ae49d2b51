#pragma once

#include <QDBusObjectPath>
#include <QMap>
#include <QString>
#include <QVariantMap>

/// Properties by the name of the interface they belong to.
using UDisks2Interfaces = QMap<QString, QVariantMap>;

/// What UDisks2 manages: the interfaces of each object by its path.
using UDisks2Objects = QMap<QDBusObjectPath, UDisks2Interfaces>;

/// UDisks2's names.
namespace UDisks2 {

inline const QString SERVICE = QStringLiteral("org.freedesktop.UDisks2");
inline const QString ROOT = QStringLiteral("/org/freedesktop/UDisks2");
inline const QString BLOCK = QStringLiteral("org.freedesktop.UDisks2.Block");
inline const QString PARTITION = QStringLiteral("org.freedesktop.UDisks2.Partition");
inline const QString PARTITION_TABLE = QStringLiteral("org.freedesktop.UDisks2.PartitionTable");
inline const QString LOOP = QStringLiteral("org.freedesktop.UDisks2.Loop");
inline const QString ENCRYPTED = QStringLiteral("org.freedesktop.UDisks2.Encrypted");
inline const QString DRIVE = QStringLiteral("org.freedesktop.UDisks2.Drive");

} // namespace UDisks2
