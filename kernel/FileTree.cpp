#include "kernel/FileTree.h"

#include <cstdio>
#include <fstream>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace FileTree {
namespace {

std::optional<Place> look(int directory, const char* path, int flags)
{
    struct statx about = {};
    if (statx(directory, path, flags | AT_STATX_DONT_SYNC, STATX_INO | STATX_MNT_ID, &about) != 0) {
        return std::nullopt;
    }
    const bool tellsMountRoots = (about.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0;
    const bool tellsMounts = (about.stx_mask & STATX_MNT_ID) != 0;
    Place place;
    place.isMountRoot = !tellsMountRoots || (about.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    place.mountId = tellsMounts ? about.stx_mnt_id : 0;
    place.identity = {makedev(about.stx_dev_major, about.stx_dev_minor), about.stx_ino};
    return place;
}

} // namespace

bool makeDirectory(const QByteArray& path, mode_t mode)
{
    return mkdir(path.constData(), mode) == 0;
}

bool removeDirectory(const QByteArray& path)
{
    return rmdir(path.constData()) == 0;
}

bool rename(const QByteArray& from, const QByteArray& to)
{
    return std::rename(from.constData(), to.constData()) == 0;
}

std::optional<Place> look(const QByteArray& path)
{
    return look(AT_FDCWD, path.constData(), 0);
}

std::optional<Place> look(int descriptor)
{
    return look(descriptor, "", AT_EMPTY_PATH);
}

std::uint64_t mountIdIn(const std::string& fdinfo)
{
    std::ifstream about(fdinfo);
    for (std::string word; about >> word;) {
        std::uint64_t id = 0;
        if (word == "mnt_id:" && about >> id) {
            return id;
        }
    }
    return 0;
}

} // namespace FileTree
