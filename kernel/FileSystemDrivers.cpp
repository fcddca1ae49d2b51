#include "kernel/FileSystemDrivers.h"

#include <fstream>
#include <sstream>

#include <sys/utsname.h>

namespace FileSystemDrivers {
namespace {

/// A line is "nodev<tab>proc" or "<tab>ext4".
bool isListed(const std::string& type, const std::string& list)
{
    std::ifstream file(list);
    for (std::string line; std::getline(file, line);) {
        if (line == '\t' + type) {
            return true;
        }
    }
    return false;
}

/// A line is "alias fs-vfat vfat": the kernel asks for the module "fs-vfat" when it is to mount vfat.
bool hasModule(const std::string& type, const std::string& aliases)
{
    const std::string start = "alias fs-" + type + ' ';
    std::ifstream file(aliases);
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, start.size(), start) == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

bool contain(const std::string& type, const std::string& list, const std::string& aliases)
{
    return isListed(type, list) || hasModule(type, aliases);
}

bool contain(const std::string& type)
{
    utsname system = {};
    uname(&system);
    return contain(type, "/proc/filesystems",
                   std::string("/lib/modules/") + system.release + "/modules.alias");
}

} // namespace FileSystemDrivers
