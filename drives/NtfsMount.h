#pragma once

#include "kernel/ShellCommand.h"

/// Running the user-space NTFS driver. Every failure becomes a warning in the log; nothing throws.
namespace NtfsMount {

/// Writes the command at debug level and runs it. Whether it succeeded; if not, the wait status is in a line
/// that begins with "WARNING ntfs-3g".
bool run(const ShellCommand& driver);

/// The fallback when the driver has refused: mounts read-only. Whether it succeeded; if not, the reason is in
/// a line that begins with "ERROR".
bool runReadOnly(const QString& deviceFile, const QString& directory);

} // namespace NtfsMount
