#pragma once

#include <QByteArray>
#include <QString>

#include "interfaces/MapFiles.h"

/// Where this program puts its drives map for the service to find: windows/Programs/Vorna/drives.ini below
/// /mounts. A map of its own bears a mark (an extended attribute that only root can set); every other one
/// belongs to somebody else and is never touched.
class MapPlace
{
public:
    explicit MapPlace(const QString& mounts = QLatin1String(MapFiles::Mounts));

    const QString& path() const { return _path; }

    /// The first map that the service would find and that belongs to somebody else; empty when there is none.
    QString foreignMap() const;

    /// Puts a map there, as a whole or not at all; the service's user and everybody else can read it. Throws
    /// std::runtime_error: also when a part of the path is a link, or the root of another file system, such
    /// as that of a Windows.
    void write(const QByteArray& map) const;

    /// Removes the map that this program has put there, and the directories that are empty then. Whether
    /// there was one.
    bool remove() const;

private:
    bool isOwn(const QString& path) const;

    QString _mounts;
    QString _path;
};
