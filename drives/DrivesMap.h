#pragma once

#include <QByteArray>
#include <QList>
#include <QSettings>
#include <QString>

#include "drives/WindowsPartition.h"

/// Finding the drives map on foreign disks, copying it to where the service reads it, and reading it. Nothing
/// here throws.
namespace DrivesMap {

/// Path of the first map below `mounts`, empty when there is none. Symbolic links are never followed: on a
/// foreign disk they could lead anywhere.
QString find(const QString& mounts);

/// Bytes of the map at `path` without backslashes: Windows writes "C:\", the settings reader would take the
/// backslash for an escape. Empty when the file cannot be read, is larger than 4 MiB or carries serialised
/// objects in place of text; a map of the largest machine has a few KiB.
QByteArray read(const QString& path);

/// Replaces the file at `path` by one with `content`. Whatever stands there, a symbolic link too, is replaced
/// as a whole and never written through. A failure leaves it as it is.
void replace(const QString& path, const QByteArray& content);

/// The partitions by section in the settings' order, then by number. Each is written to the log at debug
/// level.
QList<WindowsPartition> partitions(QSettings& settings);

/// How the log shows a partition: "Partition [N]: volume id(V) serial(S) letters(A/B)".
QString text(const WindowsPartition& partition);

} // namespace DrivesMap
