#pragma once

#include <string>
#include <vector>

/// One line of the kernel's mount table. All texts are bytes as the kernel has them, blanks decoded.
struct MountedDrive
{
    int mountId = 0;
    std::string directory;
    std::string device; ///< what is mounted: a device node, or what stands for it
    std::string root;   ///< the directory of the file system that is mounted; "/" unless it is a bind mount
    std::string type;
    bool readOnly = false; ///< the mount or the file system below it
};

namespace MountedDrives {

/// The mounts below /media and /mnt, sorted by directory; mounts on one directory in the order of the
/// table, in which a later one hides an earlier one.
/// The two roots themselves count only where the whole of a device lies over them, as a nameless medium does:
/// a /mnt bound on itself, or a tmpfs, is not a drive. `mountTable` is in the form of /proc/self/mountinfo.
/// Throws std::system_error if it cannot be read.
std::vector<MountedDrive> read(const std::string& mountTable = "/proc/self/mountinfo");

} // namespace MountedDrives
