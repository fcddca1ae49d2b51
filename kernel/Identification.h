#pragma once

#include <string>

#include <QByteArray>
#include <QString>
#include <QtGlobal>

/// The content of a block device or a disk image, as libblkid recognises it. Empty texts: nothing was
/// recognised.
struct Identification
{
    QString usage;     ///< "filesystem", "crypto", "raid", "other"
    QString type;      ///< "ntfs", "ext4", ...
    QString version;   ///< of the type
    QByteArray label;  ///< its very bytes
    QString uuid;      ///< in the type's own spelling: 16 upper-case hexadecimal digits for ntfs
    QString tableType; ///< of the partition table, if there is one: "dos", "gpt", ...
    quint64 size = 0;  ///< bytes, whole sectors
};

/// Reads from `path`, a file or a block device. Throws std::system_error when it cannot be read.
Identification identify(const std::string& path);
