#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

#include "kernel/MountInfo.h"

/// One line of the kernel's mount table. All texts are bytes as the kernel has them, blanks decoded.
struct MountedDrive
{
    int mountId = 0;
    std::string directory;
    std::string device; ///< what is mounted: a device node, or what stands for it
    std::string root;   ///< the directory of the file system that is mounted; "/" unless it is a bind mount
    std::string type;
    bool readOnly = false; ///< the mount or the file system below it
    dev_t number = 0;      ///< of the file system; 0 where it is not known
};

namespace MountedDrives {

/// Those of the mounts that are below /media and /mnt, sorted by directory; mounts on one directory in the
/// order of the table, in which a later one hides an earlier one. The two roots themselves count only where
/// the whole of a device lies over them, as a nameless medium does: a /mnt bound on itself, or a tmpfs, is
/// not a drive.
std::vector<MountedDrive> among(const std::vector<Mount>& mounts);

} // namespace MountedDrives
