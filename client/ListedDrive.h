#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "client/MountedDrive.h"

struct Space
{
    std::uint64_t size = 0; ///< bytes
    std::uint64_t free = 0; ///< bytes that an ordinary user may still write
};

/// A line of the list: a mount, with the space of its file system and the label of its device.
struct ListedDrive
{
    MountedDrive mount;
    std::string label;          ///< as on the medium; empty when there is none or it cannot be read
    std::optional<Space> space; ///< nothing: hidden below another mount, dead, or not permitted
};

namespace ListedDrives {

/// Asks all file systems and devices at once and waits for them until `bound` has passed; who has not
/// answered by then is listed without.
std::vector<ListedDrive> inquire(const std::vector<MountedDrive>& drives, std::chrono::milliseconds bound);

} // namespace ListedDrives
