#pragma once

#include <string>

#include <QString>
#include <QtGlobal>

struct Volume;

/// Where Windows remembers a drive to be: the bytes of a value below "MountedDevices".
struct DriveAddress
{
    enum class Kind
    {
        Mbr,   ///< a disk's signature and an offset: 4 and 8 bytes, little-endian
        Gpt,   ///< a partition's GUID behind "DMIO:ID:". Volumes of dynamic disks are written so too
        Other, ///< the name of a device, such as an optical drive, or something else
    };

    Kind kind = Kind::Other;
    quint32 signature = 0;
    quint64 offset = 0; ///< bytes from the beginning of the disk
    QString uuid;       ///< in lower case

    /// From any bytes.
    static DriveAddress of(const std::string& data);

    /// Whether a partition is at this place. A disk without a signature is never meant.
    bool isOf(const Volume& volume) const;
};
