#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include <sys/types.h>

#include <QByteArray>

/// Directories and what stands in them. Paths are bytes, in the encoding of file names; nothing throws.
namespace FileTree {

/// mkdir(2); `mode` is less the umask. Whether the directory was made: not if something is there.
bool makeDirectory(const QByteArray& path, mode_t mode = 0777);
/// rmdir(2). Whether the directory was removed: not if it holds anything.
bool removeDirectory(const QByteArray& path);
/// rename(2), which replaces what stands at `to`.
bool rename(const QByteArray& from, const QByteArray& to);

/// The place that a path leads to. A kernel that cannot distinguish mounts (before 5.8) leaves the first two
/// as they are.
struct Place
{
    /// The numbers of its device and its inode identify a file or directory.
    using Identity = std::pair<std::uint64_t, std::uint64_t>;

    std::uint64_t mountId = 0;
    bool isMountRoot = true;
    Identity identity;
};

/// statx(2), without asking a remote file system or a driver anew. Nothing if it fails, as where the driver
/// of what is mounted has died.
std::optional<Place> look(const QByteArray& path);
std::optional<Place> look(int descriptor);

/// The id of the mount that an open file lies on, from its file below /proc/PROCESS/fdinfo: the driver of a
/// dead mount is not asked. 0 if the kernel does not say.
std::uint64_t mountIdIn(const std::string& fdinfo);

} // namespace FileTree
