#pragma once

#include <vector>

#include <sys/types.h>

#include <QByteArray>
#include <QtGlobal>

#include "kernel/Sysfs.h"

/// The devices that block devices stand on, by their numbers. A value that sysfs does not show is empty, or
/// 0.
class BlockStack
{
public:
    explicit BlockStack(Sysfs sysfs = Sysfs());

    /// Whether anything can be said at all.
    bool isKnown() const { return _sysfs.exists("/dev/block"); }
    bool exists(dev_t number) const;
    /// Of a node below /dev, or the node that a link there leads to; 0 for any other path.
    dev_t numberOf(const QByteArray& node) const;

    /// The whole disk of a partition; any other device is its own.
    dev_t diskOf(dev_t number) const;
    QByteArray kernelName(dev_t number) const;
    bool isPartition(dev_t number) const;
    /// Whether the kernel takes no write for it.
    bool isReadOnly(dev_t number) const;
    quint64 bytesOf(dev_t number) const;
    /// The partitions of a whole disk.
    std::vector<dev_t> partitionsOf(dev_t number) const;
    /// The parts of a mapped device or an array.
    std::vector<dev_t> componentsOf(dev_t number) const;
    /// The file in a loop device.
    QByteArray backingFile(dev_t number) const;

private:
    QByteArray pathOf(dev_t number) const;
    dev_t numberAt(const QByteArray& path) const;

    Sysfs _sysfs;
};
