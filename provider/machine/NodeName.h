#pragma once

#include <optional>

#include <sys/types.h>

#include <QString>

/// The parts of the kernel's name of a block device: "sda1" is partition 1 of "sda".
class NodeName
{
public:
    explicit NodeName(const QString& name);

    bool isPartition() const { return _partition > 0; }
    /// 0 for a whole disk.
    int partition() const { return _partition; }
    /// The name of the disk that a partition is on; a whole disk's own name.
    const QString& disk() const { return _disk; }

    /// The number that a SCSI disk or partition of this name has: sixteen numbers per disk, sixteen disks on
    /// major 8, the next ones on 65 to 71 and 128 to 135. Nothing for other names, disks beyond these, and
    /// partitions above 15, which get numbers as they come.
    std::optional<dev_t> scsiNumber() const;

private:
    QString _disk;
    int _partition = 0;
};
