#pragma once

#include <memory>
#include <vector>

#include <QString>
#include <QtGlobal>

/// The partition table of a disk, as libblkid reads it.
struct PartitionTable
{
    struct Entry
    {
        int number = 0;     ///< as the kernel counts: logical partitions from 5 on
        quint64 offset = 0; ///< from the beginning of the disk, in bytes
        QString uuid;       ///< of the partition, in lower case
    };

    QString type; ///< "dos", "gpt"; empty: there is no table, or libblkid does not know it
    QString uuid; ///< of the disk; of an MBR its signature in eight hexadecimal digits
    std::vector<Entry> entries;
};

struct blkid_struct_probe;

/// Reads the partition table of an open disk or disk image. What has to be asked of the kernel is asked at
/// once; reading needs nothing but the descriptor.
class PartitionTableReader
{
public:
    /// The descriptor stays the caller's. Throws std::system_error when it is not that of a disk.
    explicit PartitionTableReader(int descriptor);

    PartitionTable read() const;

private:
    std::shared_ptr<blkid_struct_probe> _probe;
};
