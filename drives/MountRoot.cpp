#include "drives/MountRoot.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <QDir>
#include <QFile>

#include "drives/MountCalls.h"
#include "drives/MountPolicy.h"
#include "service/LogText.h"

namespace {

constexpr QDir::Filters Directories = QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot;

/// Full paths of the entries of `root` that are directories, in the order in which it lists them.
QStringList directoriesBelow(const QString& root, QDir::Filters filters = Directories)
{
    QStringList result;
    for (const QString& name : QDir(root).entryList(filters, QDir::Unsorted)) {
        result += MountPolicy::pathBelow(root, name);
    }
    return result;
}

} // namespace

MountRoot::MountRoot(const QString& path)
    : _path(QDir::cleanPath(path))
{
}

void MountRoot::create()
{
    QDir::root().mkdir(_path);
    _created = look();
}

void MountRoot::takeDown() const
{
    if (!uncover()) {
        return;
    }
    // Kept: each directory is unmounted once, whoever mounted it, in the order in which the root lists them,
    // and failures are silent. Of several mounts on one directory the lower ones stay.
    for (const QString& directory : directoriesBelow(_path)) {
        LogText::debug(directory);
        MountCalls::unmount(directory);
        QDir::root().rmdir(directory);
    }
}

/// The directories on what lies over the root are not removed, and no link among them is followed: they
/// belong to the medium.
bool MountRoot::uncover() const
{
    while (isCovered()) {
        for (const QString& directory : directoriesBelow(_path, Directories | QDir::NoSymLinks)) {
            MountCalls::unmount(directory);
        }
        if (!MountCalls::unmount(_path).succeeded()) {
            return false;
        }
    }
    return true;
}

bool MountRoot::isCovered() const
{
    const Place now = look();
    const bool isWhatItWas =
        now.mountId == _created.mountId && now.device == _created.device && now.inode == _created.inode;
    return now.isMountRoot && !isWhatItWas;
}

/// A place that cannot be looked at, because the driver of what is mounted there has died, is a place of its
/// own.
MountRoot::Place MountRoot::look() const
{
    struct statx about = {};
    const QByteArray path = QFile::encodeName(_path);
    if (statx(AT_FDCWD, path.constData(), AT_STATX_DONT_SYNC, STATX_INO | STATX_MNT_ID, &about) != 0) {
        return {};
    }
    const bool tellsMountRoots = (about.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0;
    const bool tellsMounts = (about.stx_mask & STATX_MNT_ID) != 0;
    Place place;
    place.isMountRoot = !tellsMountRoots || (about.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    place.mountId = tellsMounts ? about.stx_mnt_id : 0;
    place.device = makedev(about.stx_dev_major, about.stx_dev_minor);
    place.inode = about.stx_ino;
    return place;
}
