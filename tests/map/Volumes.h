#pragma once

#include <string>

#include <QUuid>
#include <QtEndian>

#include "map/Volume.h"
#include "map/reader/Registry.h"

/// Partitions of a machine, and what a Windows remembers of them.
namespace Volumes {

/// A readable NTFS partition of an internal disk. Its serial number follows from its name.
inline Volume ntfs(const std::string& name)
{
    Volume volume;
    volume.node = QStringLiteral("/dev/") + QString::fromStdString(name);
    volume.label = QStringLiteral("label of ") + QString::fromStdString(name);
    volume.type = QStringLiteral("ntfs");
    volume.uuid =
        QStringLiteral("A0B1C2D3%1").arg(qHash(volume.node, 1) | 1, 8, 16, QLatin1Char('0')).toUpper();
    volume.isInternal = volume.isArranged = volume.isFileSystem = volume.isReadable = true;
    return volume;
}

inline Volume onMbr(const std::string& name, quint32 signature, quint64 offset)
{
    Volume volume = ntfs(name);
    volume.diskSignature = signature;
    volume.offset = offset;
    return volume;
}

inline Volume onGpt(const std::string& name, const std::string& uuid)
{
    Volume volume = ntfs(name);
    volume.partitionUuid = QString::fromStdString(uuid);
    return volume;
}

inline Volume withSerialOf(Volume volume, const std::string& other)
{
    volume.uuid = ntfs(other).uuid;
    return volume;
}

inline RememberedDrive mbr(char letter, quint32 signature, quint64 offset)
{
    char bytes[12];
    qToLittleEndian(signature, bytes);
    qToLittleEndian(offset, bytes + 4);
    return {letter, std::string(bytes, sizeof bytes)};
}

inline RememberedDrive gpt(char letter, const std::string& text)
{
    const QUuid uuid(QString::fromStdString(text));
    char bytes[8];
    qToLittleEndian(uuid.data1, bytes);
    qToLittleEndian(uuid.data2, bytes + 4);
    qToLittleEndian(uuid.data3, bytes + 6);
    const auto* rest = reinterpret_cast<const char*>(uuid.data4);
    return {letter, "DMIO:ID:" + std::string(bytes, sizeof bytes) + std::string(rest, sizeof uuid.data4)};
}

} // namespace Volumes
