#pragma once

#include "kernel/Sysfs.h"
#include "provider/udev/BlockDevice.h"

/// Whether a disk belongs to the machine.
struct Placement
{
    bool isInternal = true;
    const char* reason = "";
};

/// Decided by the first rule of one table that applies: the bus of the disk and its parents, what the kernel
/// says of the medium and the slot, and UDISKS_SYSTEM, by which rules of the machine's own overrule all
/// others. A device that is made of others (a mapped device, an array) is where they are.
Placement placementOf(const BlockDevice& device, const Sysfs& sysfs);
