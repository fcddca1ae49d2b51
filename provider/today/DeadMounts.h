#pragma once

#include <string>
#include <vector>

#include <QStringList>

#include "kernel/BlockStack.h"
#include "kernel/MountInfo.h"

/// The mount that the NTFS driver leaves when its device is pulled out: one that answers every question with
/// an error, and over which nothing can be mounted.
namespace DeadMounts {

/// The rule's word.
constexpr const char* Word = "dead-mounts";

/// The FUSE mounts of block devices directly below /media whose device is gone; what lies on top comes first.
/// Without sysfs no device counts as gone.
std::vector<Mount> among(const std::vector<Mount>& mounts, const BlockStack& blocks);

/// Unmounts these and removes their directories; returns one line for each. A
/// mount that another one covers stays. Errors do not matter to the caller: they are among the lines.
QStringList takeAway(const std::vector<Mount>& dead);

} // namespace DeadMounts
