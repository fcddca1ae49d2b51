#include "interfaces/MapFiles.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>

namespace MapFiles {
namespace {

using Wish = std::function<bool(const QString& path)>;

constexpr QDir::Filters RealDirectories = QDir::Dirs | QDir::NoSymLinks | QDir::NoDotAndDotDot;
constexpr QDir::Filters RealFiles = QDir::Files | QDir::NoSymLinks | QDir::NoDotAndDotDot;

// Kept: QDir::NoSort means the directory object's own order here, which is by name. When two disks carry a
// map, the first by name has always been the one that is used.
QFileInfoList directoriesIn(const QString& path, const QStringList& names = {})
{
    return QDir(path).entryInfoList(names, RealDirectories, QDir::NoSort);
}

QString firstInTree(const QString& directory, const Wish& isWanted)
{
    QDirIterator files(directory, RealFiles, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        if (files.fileName() == QLatin1String("drives.ini") && isWanted(files.filePath())) {
            return files.filePath();
        }
    }
    return {};
}

QString firstInProgramDirectory(const QString& directory, const Wish& isWanted)
{
    const QFileInfo vorna(QDir(directory), QStringLiteral("Vorna"));
    const bool isDirectory = vorna.isDir() && !vorna.isSymLink();
    return isDirectory ? firstInTree(vorna.absoluteFilePath(), isWanted) : QString();
}

} // namespace

QString first(const QString& mounts, const Wish& isWanted)
{
    for (const QFileInfo& mount : directoriesIn(mounts)) {
        for (const QFileInfo& programs : directoriesIn(mount.absoluteFilePath(), {QStringLiteral("Prog*")})) {
            QString map = firstInProgramDirectory(programs.absoluteFilePath(), isWanted);
            if (!map.isEmpty()) {
                return map;
            }
        }
    }
    return {};
}

} // namespace MapFiles
