#include "drives/DrivesMap.h"

#include <cstdio>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

namespace DrivesMap {
namespace {

constexpr qint64 SizeLimit = 4 * 1024 * 1024;
constexpr QDir::Filters RealDirectories = QDir::Dirs | QDir::NoSymLinks | QDir::NoDotAndDotDot;
constexpr QDir::Filters RealFiles = QDir::Files | QDir::NoSymLinks | QDir::NoDotAndDotDot;

// Kept: QDir::NoSort means the directory object's own order here, which is by name. When two disks carry a
// map, the first by name has always been the one that is used.
QFileInfoList directoriesIn(const QString& path, const QStringList& names = {})
{
    return QDir(path).entryInfoList(names, RealDirectories, QDir::NoSort);
}

QString findInTree(const QString& directory)
{
    QDirIterator files(directory, RealFiles, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        if (files.fileName() == QLatin1String("drives.ini")) {
            return files.filePath();
        }
    }
    return {};
}

QString findInProgramDirectory(const QString& directory)
{
    const QFileInfo vorna(QDir(directory), QStringLiteral("Vorna"));
    return vorna.isDir() && !vorna.isSymLink() ? findInTree(vorna.absoluteFilePath()) : QString();
}

/// The settings reader revives objects from values that begin so, from whatever bytes follow. Quotes inside a
/// value fall away when it is read, so they do not count here either.
bool carriesSerialisedObjects(QByteArray content)
{
    content.replace('"', "");
    return content.contains("@Variant(") || content.contains("@DateTime(");
}

} // namespace

QString find(const QString& mounts)
{
    for (const QFileInfo& mount : directoriesIn(mounts)) {
        for (const QFileInfo& programs : directoriesIn(mount.absoluteFilePath(), {QStringLiteral("Prog*")})) {
            const QString map = findInProgramDirectory(programs.absoluteFilePath());
            if (!map.isEmpty()) {
                return map;
            }
        }
    }
    return {};
}

QByteArray read(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QByteArray content = file.read(SizeLimit + 1);
    content.replace('\\', "");
    const bool isText = content.size() <= SizeLimit && !carriesSerialisedObjects(content);
    return isText ? content : QByteArray();
}

void replace(const QString& path, const QByteArray& content)
{
    QTemporaryFile fresh(path + QStringLiteral(".XXXXXX"));
    if (!fresh.open() || fresh.write(content) != content.size() || !fresh.flush()) {
        return;
    }
    fresh.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    const QByteArray from = QFile::encodeName(fresh.fileName());
    if (std::rename(from.constData(), QFile::encodeName(path).constData()) == 0) {
        fresh.setAutoRemove(false);
    }
}

} // namespace DrivesMap
