#include "tests/support/KernelMounts.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include <mntent.h>

namespace KernelMounts {
namespace {

bool isBelow(const std::string& root, const std::string& directory)
{
    return directory == root || directory.compare(0, root.size() + 1, root + "/") == 0;
}

} // namespace

std::vector<Mount> all()
{
    const std::unique_ptr<FILE, int (*)(FILE*)> table(setmntent("/proc/self/mounts", "re"), &endmntent);
    std::vector<Mount> result;
    while (const mntent* entry = getmntent(table.get())) {
        result.push_back(
            {entry->mnt_fsname, entry->mnt_dir, entry->mnt_type, hasmntopt(entry, "ro") != nullptr});
    }
    return result;
}

std::optional<Mount> at(const std::string& directory)
{
    std::optional<Mount> result;
    for (const Mount& mount : all()) {
        if (mount.directory == directory) {
            result = mount;
        }
    }
    return result;
}

std::string sourceAt(const std::string& directory)
{
    const std::optional<Mount> mount = at(directory);
    return mount ? mount->source : "nothing";
}

std::vector<std::string> directories()
{
    std::vector<std::string> result;
    for (const Mount& mount : all()) {
        if (isBelow("/media", mount.directory) || isBelow("/mnt", mount.directory)) {
            result.push_back(mount.directory);
        }
    }
    std::sort(result.begin(), result.end());
    return result;
}

} // namespace KernelMounts
