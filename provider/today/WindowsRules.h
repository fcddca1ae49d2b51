#pragma once

#include "provider/today/Picture.h"

/// Drive letters are given at the start to partitions with major number 8, in the order of enumeration.

/// A partition of an internal disk that is not a SCSI disk (NVMe, eMMC, virtio) is shown with major number 8.
void showScsiMajor(Presentation& device, const Circumstances& circumstances);

/// A partition to which Windows gives no drive letter is shown under the number it has, if that is not on
/// major 8, and otherwise under major number 0, which no block device has.
void withholdLetter(Presentation& device, const Circumstances& circumstances);

/// NTFS and FAT partitions of internal disks come first, otherwise the order stays.
void putWindowsFirst(Picture& picture, const Circumstances& circumstances);
