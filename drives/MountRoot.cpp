#include "drives/MountRoot.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <QDir>
#include <QFile>

#include "drives/MountPolicy.h"
#include "kernel/MountCalls.h"
#include "log/LogText.h"

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
    _created = look(_path);
}

void MountRoot::makeDirectory(const QString& directory)
{
    if (directory != _path && QDir::root().mkdir(directory)) {
        _made.insert(look(directory).identity);
    }
}

void MountRoot::removeDirectory(const QString& directory)
{
    const Identity identity = look(directory).identity;
    if (directory != _path && QDir::root().rmdir(directory)) {
        _made.erase(identity);
    }
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

/// No link on what lies over the root is followed: it belongs to the medium.
bool MountRoot::uncover() const
{
    while (isCovered()) {
        for (const QString& directory : directoriesBelow(_path, Directories | QDir::NoSymLinks)) {
            takeDownOnMedium(directory);
        }
        if (!MountCalls::unmount(_path).succeeded()) {
            return false;
        }
    }
    return true;
}

void MountRoot::takeDownOnMedium(const QString& directory) const
{
    const Place place = look(directory);
    if (place.isMountRoot || isMade(place)) {
        LogText::debug(directory);
        MountCalls::unmount(directory);
    }
    if (isMade(look(directory))) {
        QDir::root().rmdir(directory);
    }
}

bool MountRoot::isCovered() const
{
    const Place now = look(_path);
    const bool isWhatItWas = now.mountId == _created.mountId && now.identity == _created.identity;
    return now.isMountRoot && !isWhatItWas;
}

bool MountRoot::isMade(const Place& place) const
{
    return _made.count(place.identity) != 0;
}

/// A place that cannot be looked at, because the driver of what is mounted there has died, is a place of its
/// own.
MountRoot::Place MountRoot::look(const QString& path)
{
    struct statx about = {};
    const QByteArray name = QFile::encodeName(path);
    if (statx(AT_FDCWD, name.constData(), AT_STATX_DONT_SYNC, STATX_INO | STATX_MNT_ID, &about) != 0) {
        return {};
    }
    const bool tellsMountRoots = (about.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0;
    const bool tellsMounts = (about.stx_mask & STATX_MNT_ID) != 0;
    Place place;
    place.isMountRoot = !tellsMountRoots || (about.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    place.mountId = tellsMounts ? about.stx_mnt_id : 0;
    place.identity = {makedev(about.stx_dev_major, about.stx_dev_minor), about.stx_ino};
    return place;
}
