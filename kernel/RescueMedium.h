#pragma once

#include <set>
#include <vector>

#include <sys/types.h>

#include <QByteArray>
#include <QSet>

#include "kernel/BlockStack.h"
#include "kernel/MountInfo.h"

/// The medium that the rescue system runs from. It is found by the mounts and the devices below them, never
/// by a label, which any stick could carry.
struct RescueMedium
{
    /// Every block device behind the system's root, the layers of an overlay there, and the places where live
    /// systems mount their medium: down through loop devices, mapped devices and arrays.
    std::set<dev_t> devices;
    /// The disks that these are, or are on, by the kernel's names.
    QSet<QByteArray> disks;

    static RescueMedium of(const std::vector<Mount>& mounts, const BlockStack& blocks);
};
