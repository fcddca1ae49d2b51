#pragma once

#include <chrono>
#include <vector>

#include "kernel/BlockNodes.h"
#include "kernel/Descriptor.h"

/// The ends of the drivers in user space that have devices open: NTFS is not written out before its driver
/// has ended, whatever umount(2) says.
class DriverEnds
{
public:
    /// Looks for the drivers now, so before anything is unmounted.
    explicit DriverEnds(const std::vector<BlockNode>& devices);

    /// Whether all of them have ended, or do within `bound`.
    bool come(std::chrono::milliseconds bound) const;

private:
    std::vector<Descriptor> _drivers;
};
