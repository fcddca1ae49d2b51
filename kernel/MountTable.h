#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include "kernel/MountInfo.h"

/// The kernel's mount table. It is read at every question; its text is taken apart, which takes most of the
/// time, only when it is another than before. Belongs to one thread.
class MountTable
{
public:
    static constexpr const char* Self = "/proc/self/mountinfo";

    explicit MountTable(std::string file = Self);

    /// Every mount there is now; the list holds until the next question. Throws std::system_error if the
    /// table cannot be read.
    const std::vector<Mount>& read() &;
    /// The same for those who can do without: a table that cannot be read is empty.
    const std::vector<Mount>& mounts() &;

    /// The mount points of the whole file system (binds of a part of it do not count) on the device with this
    /// number, in descending byte order. File systems over several devices show a number of their own: btrfs
    /// is recognised by the node that it was mounted from. No number (0), or no table that can be read:
    /// empty.
    QStringList mountPaths(dev_t number, const QString& deviceFile);

private:
    std::string _file;
    QByteArray _content;
    std::vector<Mount> _mounts;
};
