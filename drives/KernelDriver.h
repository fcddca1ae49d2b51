#pragma once

#include <QString>

/// Mounting by the kernel. Failures are warnings in the log, although their texts begin with "ERROR"; nothing
/// throws.
namespace KernelDriver {

/// Mounts a file system for the first time. Whether it is mounted.
bool mount(const QString& deviceFile, const QString& directory, const QString& type);

/// Changes the options of what is mounted at `path` to `options` (comma-separated, may be empty). Returns
/// "DONE ..." or "ERROR ...".
QString remount(const QString& deviceFile, const QString& path, const QString& options);

/// Writes the line of a mount that failed with this error number. A mount that is not even tried, because its
/// directory is refused, has the same line.
void reportFailedMount(int error);

} // namespace KernelDriver
