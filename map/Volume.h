#pragma once

#include <optional>

#include <QString>
#include <QtGlobal>

/// A partition of the machine, with what decides on its drive letter.
struct Volume
{
    QString node;  ///< "/dev/sda2"
    QString label; ///< of the file system, as it stands there
    QString type;  ///< of the content: "ntfs", "vfat", ...
    QString uuid;  ///< of the content, in the type's own spelling

    bool isInternal = false;   ///< on a disk of the machine itself
    bool isArranged = false;   ///< known to the service when it arranges the letters
    bool isFileSystem = false; ///< or something that is not mounted
    bool isReadable = false;   ///< an NTFS that this program could read

    QString disk; ///< the node of its disk
    int number = 0;
    quint32 diskSignature = 0; ///< of an MBR; 0: there is none
    quint64 offset = 0;        ///< from the beginning of the disk, in bytes
    QString partitionUuid;     ///< of a GPT, in lower case

    /// The number by which the service finds it in the drives map: the second half of an NTFS serial number,
    /// a FAT id without its dash. Nothing for what it does not look up; 0 for what is not a number.
    std::optional<quint32> volumeId() const;
};
