#pragma once

#include <vector>

#include <sys/types.h>

#include <QByteArray>
#include <QList>

/// One mount in the kernel's table. Texts are the kernel's bytes, its escapes decoded.
struct Mount
{
    int id = 0;
    dev_t number = 0;  ///< of the file system: a block device's, or one without a device behind
    QByteArray root;   ///< the directory of the file system that is mounted; "/" unless it is a bind mount
    QByteArray target; ///< the mount point
    QByteArray type;
    QByteArray source;
    bool isReadOnly = false; ///< the mount or its file system
    bool isShared = false;   ///< what is mounted below it appears elsewhere too, and nothing can be moved out
    /// The layers of an overlay: the directories that it shows, and the one that it writes to.
    QList<QByteArray> layers = {};
    int parent = 0; ///< the id of the mount that the mount point lies on
};

/// The text of the kernel's table of mounts, as in /proc/self/mountinfo, and what can be found in it.
namespace MountInfo {

/// In the order of the table: of several mounts at one place the last one lies on top. Lines that make no
/// sense are skipped.
std::vector<Mount> parse(const QByteArray& table);

/// The mount that `path` lies on, as far as the table shows it; null for a table without a root.
const Mount* holding(const QByteArray& path, const std::vector<Mount>& mounts);
/// The name of a mount point directly below `directory`; empty for any other.
QByteArray nameBelow(const QByteArray& directory, const Mount& mount);
/// Whether `path` is `directory` or lies below it.
bool isWithin(const QByteArray& path, const QByteArray& directory);

} // namespace MountInfo
