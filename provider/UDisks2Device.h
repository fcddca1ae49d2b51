#pragma once

#include <optional>

#include "provider/BusOrder.h"
#include "provider/Device.h"
#include "provider/Sysfs.h"
#include "provider/UDisks2Objects.h"

/// A block device of UDisks2 as UDisks 1 shows it.
struct UDisks2Device
{
    Device device;
    BusOrder order;
    /// Whether all that can be known of it is; UDisks2 can announce a device earlier.
    bool isIdentified = false;
};

/// Translates the object `path` of UDisks2. Nothing, if it is no block device, or one that UDisks 1 does not
/// show: a RAM disk, or a loop device without a file.
///
/// Unless `showsTrueMajor` is set, partitions of internal disks that are no SCSI disks are shown with the
/// major number of SCSI disks: programs of UDisks 1's days look for a machine's own disks there.
std::optional<UDisks2Device> translated(const UDisks2Objects& objects, const QDBusObjectPath& path,
                                        const Sysfs& sysfs, bool showsTrueMajor);
