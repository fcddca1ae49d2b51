#pragma once

#include <memory>

#include <sys/types.h>

#include <QString>
#include <QStringList>

struct libmnt_table;

/// The kernel's mount table. Every answer is the truth of its moment; the table is read again only when the
/// kernel says that it has changed. Belongs to one thread. Nothing throws.
class MountTable
{
public:
    explicit MountTable(const char* file = "/proc/self/mountinfo");
    ~MountTable();
    MountTable(const MountTable&) = delete;
    MountTable& operator=(const MountTable&) = delete;

    /// The mount points of the whole file system (binds of a part of it do not count) on the device with this
    /// number, in descending byte order. File systems over several devices show a number of their own: btrfs
    /// is recognised by the node that it was mounted from. No number (0), or no table that can be read:
    /// empty.
    QStringList mountPaths(dev_t number, const QString& deviceFile);

private:
    using Entries = std::unique_ptr<libmnt_table, void (*)(libmnt_table*)>;

    bool hasChanged() const;

    const char* _file;
    int _descriptor;
    Entries _entries;
};
