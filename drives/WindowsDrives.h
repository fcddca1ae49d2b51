#pragma once

#include <QDebug>
#include <QList>
#include <QSettings>
#include <QSharedPointer>

#include "drives/WindowsPartition.h"

/// Reads the drives map, "drives.ini", that a Windows installation keeps in a program directory: which
/// partition of which disk carries which drive letters.
///
/// The map is looked for below "/mounts": in the directory "Vorna", at any depth, in a directory matching
/// "Prog*" (any case) of a mounted file system. The first one found is copied to "/tmp/drives.ini" without
/// its backslashes and read from there; the copy stays. Nothing throws: a map that cannot be read has no
/// partitions.
class WindowsDrives
{
public:
    using Partition = WindowsPartition;

    /// Searches, copies and opens the map.
    WindowsDrives();
    virtual ~WindowsDrives();

    WindowsDrives(const WindowsDrives&) = delete;
    WindowsDrives& operator=(const WindowsDrives&) = delete;

    /// Whether the constructor found a map. Does not look again.
    bool drivesIniExist();
    /// The partitions by section (sorted by name), then by number. Reads the copy anew on every call.
    QList<Partition> partitions() const;

private:
    QSharedPointer<QSettings> _settings;
};

/// Writes "Partition [N]: volume id(V) serial(S) letters(A/B)" in the form of the log, the last blank
/// included.
QDebug operator<<(QDebug debug, const WindowsDrives::Partition& partition);
