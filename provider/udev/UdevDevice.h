#pragma once

#include <optional>

#include "kernel/Sysfs.h"
#include "provider/Device.h"
#include "provider/udev/BlockDevice.h"
#include "provider/udev/BusOrder.h"

/// A block device of udev as UDisks 1 shows it.
struct UdevDevice
{
    Device device;
    BusOrder order;
};

/// Nothing for what UDisks 1 does not show: RAM disks, loop devices without a file, and the partitions that
/// the kernel keeps of a medium that has been taken out. `bootTime` is the time at which the kernel's clock
/// began, in microseconds.
std::optional<UdevDevice> shownAs(const BlockDevice& device, const Sysfs& sysfs, qlonglong bootTime);
