#pragma once

#include <QString>

/// Mounting NTFS by its user-space driver, read-only when that refuses. Every failure becomes a warning in
/// the log; nothing throws.
namespace NtfsDriver {

/// Mounts a file system for the first time.
void mount(const QString& deviceFile, const QString& directory);

/// Unmounts what is at `path` and mounts it again with `options` (comma-separated, may be empty), after a
/// repair if they ask for one. Once begun it is carried out whole. Returns "DONE ..."; the empty text when
/// the driver refused the options: the log then holds whether the file system is mounted read-only or not at
/// all.
QString remount(const QString& deviceFile, const QString& path, const QString& options);

} // namespace NtfsDriver
