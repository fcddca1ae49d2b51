#include "map/MapPlace.h"

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <QFile>
#include <QStringList>

#include "kernel/Descriptor.h"
#include "kernel/FileTree.h"

namespace {

constexpr const char* Mark = "trusted.vrdrivesmap";
constexpr mode_t EverybodyReads = 0644;

const QStringList Directories{QStringLiteral("windows"), QStringLiteral("Programs"), QStringLiteral("Vorna")};

/// The directory itself and those on the way to it from `mounts`, which is the first.
QList<QByteArray> directoriesFrom(const QString& mounts)
{
    QString path = mounts;
    QList<QByteArray> result{QFile::encodeName(path)};
    for (const QString& name : Directories) {
        path += QLatin1Char('/') + name;
        result.append(QFile::encodeName(path));
    }
    return result;
}

bool isRealDirectory(const QByteArray& path)
{
    struct stat about = {};
    return lstat(path.constData(), &about) == 0 && S_ISDIR(about.st_mode);
}

bool areOfOneMount(const QByteArray& left, const QByteArray& right)
{
    const auto one = FileTree::look(left);
    const auto other = FileTree::look(right);
    return one && other && one->mountId == other->mountId && one->identity.first == other->identity.first;
}

void makeDirectories(const QString& mounts)
{
    const QList<QByteArray> directories = directoriesFrom(mounts);
    for (const QByteArray& directory : directories) {
        FileTree::makeDirectory(directory, 0755);
        if (!isRealDirectory(directory) || !areOfOneMount(directory, directories.first())) {
            throw std::runtime_error(directory.toStdString() +
                                     " is not a directory of this system: nothing is written there");
        }
    }
}

void require(bool holds, const QByteArray& path)
{
    const int error = errno;
    if (!holds) {
        throw std::system_error(error, std::generic_category(), "cannot write " + path.toStdString());
    }
}

void fill(const Descriptor& file, const QByteArray& content, const QByteArray& path)
{
    require(write(file.get(), content.constData(), static_cast<std::size_t>(content.size())) ==
                content.size(),
            path);
    require(fchmod(file.get(), EverybodyReads) == 0, path);
    require(fsetxattr(file.get(), Mark, "", 0, 0) == 0, path);
    require(fsync(file.get()) == 0, path);
}

} // namespace

MapPlace::MapPlace(const QString& mounts)
    : _mounts(mounts)
    , _path(mounts + QLatin1Char('/') + Directories.join(QLatin1Char('/')) + QStringLiteral("/drives.ini"))
{
}

QString MapPlace::foreignMap() const
{
    return MapFiles::first(_mounts, [this](const QString& path) { return !isOwn(path); });
}

void MapPlace::write(const QByteArray& map) const
{
    makeDirectories(_mounts);
    const QByteArray path = QFile::encodeName(_path);
    QByteArray fresh = path + ".XXXXXX";
    const Descriptor file(mkostemp(fresh.data(), O_CLOEXEC));
    require(file.isOpen(), path);
    try {
        fill(file, map, path);
        require(FileTree::rename(fresh, path), path);
    } catch (const std::system_error&) {
        unlink(fresh.constData());
        throw;
    }
}

bool MapPlace::remove() const
{
    if (!isOwn(_path) || unlink(QFile::encodeName(_path).constData()) != 0) {
        return false;
    }
    const QList<QByteArray> directories = directoriesFrom(_mounts);
    for (int last = directories.size() - 1; last > 0; --last) {
        FileTree::removeDirectory(directories[last]);
    }
    return true;
}

bool MapPlace::isOwn(const QString& path) const
{
    return path == _path && lgetxattr(QFile::encodeName(path).constData(), Mark, nullptr, 0) >= 0;
}
