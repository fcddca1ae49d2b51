#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

#include <QByteArray>
#include <QList>

/// One mount in the kernel's table.
struct Mount
{
    int id = 0;
    dev_t number = 0;  ///< of the file system: a block device's, or one without a device behind
    QByteArray target; ///< the mount point
    QByteArray type;
    QByteArray source;
    /// The layers of an overlay: the directories that it shows, and the one that it writes to.
    QList<QByteArray> layers = {};
};

/// Reads the kernel's table of mounts, as in /proc/self/mountinfo. Lines that make no sense are skipped.
namespace MountInfo {

constexpr const char* Self = "/proc/self/mountinfo";

std::vector<Mount> parse(const QByteArray& table);
/// The same from a file; empty if it cannot be read.
std::vector<Mount> read(const std::string& file);

/// The mount that `path` lies on, as far as the table shows it; null for a table without a root.
const Mount* holding(const QByteArray& path, const std::vector<Mount>& mounts);
/// The name of a mount point directly below /media; empty for any other.
QByteArray nameBelowMedia(const Mount& mount);
/// Whether `path` is `directory` or lies below it.
bool isWithin(const QByteArray& path, const QByteArray& directory);

} // namespace MountInfo
