#pragma once

#include <memory>

#include <sys/types.h>

#include <QByteArray>
#include <QString>
#include <QStringList>

struct libmnt_table;

/// The kernel's mount table. It is read at every question; its entries, which take most of the time, are
/// taken apart only when they are others than before. Belongs to one thread. Nothing throws.
class MountTable
{
public:
    using Entries = std::unique_ptr<libmnt_table, void (*)(libmnt_table*)>;

    explicit MountTable(const char* file = "/proc/self/mountinfo");

    /// The mount points of the whole file system (binds of a part of it do not count) on the device with this
    /// number, in descending byte order. File systems over several devices show a number of their own: btrfs
    /// is recognised by the node that it was mounted from. No number (0), or no table that can be read:
    /// empty.
    QStringList mountPaths(dev_t number, const QString& deviceFile);

private:
    void read();

    QString _file;
    QByteArray _content;
    Entries _entries;
};
