#pragma once

#include <vector>

#include <QString>

#include "map/Volume.h"

/// The partitions of the machine, as the UDisks service knows them, in its order. What only the disks
/// themselves say (signature, offset, GUID) is still missing.
///
/// Throws std::runtime_error when nobody answers; a device that does not answer in four seconds, such as one
/// that has just been pulled, is left out. A property of another type than the interface says counts as
/// empty.
std::vector<Volume> readVolumes();
