#pragma once

#include <optional>
#include <string>
#include <vector>

/// The kernel's mounts, from the bottom of each stack to its top.
namespace KernelMounts {

struct Mount
{
    std::string source;
    std::string directory;
    std::string type;
    bool isReadOnly = false;
};

std::vector<Mount> all();
/// The topmost mount on `directory`.
std::optional<Mount> at(const std::string& directory);
/// Its source, such as "/dev/sda1", or "nothing".
std::string sourceAt(const std::string& directory);
/// The directories below /media and /mnt (or these themselves) on which something is mounted, sorted; one
/// entry for each mount.
std::vector<std::string> directories();

} // namespace KernelMounts
