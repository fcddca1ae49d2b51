#include "drives/MountRoot.h"

#include <QDir>
#include <QFile>

#include "kernel/MountCalls.h"
#include "log/LogText.h"

namespace {

constexpr QDir::Filters Directories = QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot;

/// Full paths of the entries of `root` that are directories, in the order in which it lists them.
QStringList directoriesBelow(const MountRoot& root, QDir::Filters filters = Directories)
{
    QStringList result;
    for (const QString& name : QDir(root.path()).entryList(filters, QDir::Unsorted)) {
        result += root.pathOf(name);
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
    FileTree::makeDirectory(QFile::encodeName(_path));
    _created = look(_path);
}

void MountRoot::makeDirectory(const QString& directory)
{
    if (directory != _path && FileTree::makeDirectory(QFile::encodeName(directory))) {
        _made.insert(look(directory).identity);
    }
}

void MountRoot::removeDirectory(const QString& directory)
{
    const Identity identity = look(directory).identity;
    if (directory != _path && FileTree::removeDirectory(QFile::encodeName(directory))) {
        _made.erase(identity);
    }
}

QString MountRoot::pathOf(const QString& name) const
{
    // Not the framework's joining of paths: it takes a name that begins with ":" for one of its resources.
    return name.isEmpty() ? _path : _path + QLatin1Char('/') + name;
}

void MountRoot::takeDown() const
{
    if (!uncover()) {
        return;
    }
    // Kept: each directory is unmounted once, whoever mounted it, in the order in which the root lists them,
    // and failures are silent. Of several mounts on one directory the lower ones stay.
    for (const QString& directory : directoriesBelow(*this)) {
        LogText::debug(directory);
        MountCalls::unmount(directory);
        FileTree::removeDirectory(QFile::encodeName(directory));
    }
}

/// No link on what lies over the root is followed: it belongs to the medium.
bool MountRoot::uncover() const
{
    while (isCovered()) {
        for (const QString& directory : directoriesBelow(*this, Directories | QDir::NoSymLinks)) {
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
        FileTree::removeDirectory(QFile::encodeName(directory));
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
    return FileTree::look(QFile::encodeName(path)).value_or(Place());
}
