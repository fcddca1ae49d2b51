#pragma once

#include "provider/today/Picture.h"

/// Not every block device is a disk of the PC that is to be rescued.

/// A loop device, compressed memory, a RAM disk; their partitions, and what is mapped to nothing else.
void hideMemoryDevices(Picture& picture, const Circumstances& circumstances);

/// The medium that the rescue system runs from; on an external medium also the EFI and ISO 9660 volumes
/// beside it. Other partitions of that medium are offered: users save their data there.
void hideRescueMedium(Presentation& device, const Circumstances& circumstances);
