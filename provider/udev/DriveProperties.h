#pragma once

#include <QVariantMap>

#include "kernel/Sysfs.h"
#include "provider/udev/BlockDevice.h"

/// The properties of the drive that a device is on, and of the medium in it; of a virtual device, which
/// is on none, whether there is a medium. `bootTime` as for shownAs.
QVariantMap driveProperties(const BlockDevice& device, const Sysfs& sysfs, qlonglong bootTime);
