#pragma once

#include <string>

/// The file systems that the running kernel can mount.
namespace FileSystemDrivers {

/// Whether the kernel knows `type`, or has a module that it would load for it. `list` is in the form of
/// /proc/filesystems, `aliases` in that of modules.alias.
bool contain(const std::string& type, const std::string& list, const std::string& aliases);
/// The same for this kernel.
bool contain(const std::string& type);

} // namespace FileSystemDrivers
