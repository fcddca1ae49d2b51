#include "provider/MountTable.h"

#include <algorithm>
#include <functional>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <libmount.h>

namespace {

using Iterator = std::unique_ptr<libmnt_iter, decltype(&mnt_free_iter)>;

QByteArray text(const char* value)
{
    return QByteArray(value);
}

bool isOn(libmnt_fs* mounted, dev_t number, const QByteArray& deviceFile)
{
    if (text(mnt_fs_get_root(mounted)) != "/") {
        return false;
    }
    return mnt_fs_get_devno(mounted) == number ||
           (text(mnt_fs_get_fstype(mounted)) == "btrfs" && text(mnt_fs_get_source(mounted)) == deviceFile);
}

} // namespace

MountTable::MountTable(const char* file)
    : _file(file)
    , _descriptor(open(file, O_RDONLY | O_CLOEXEC))
    , _entries(nullptr, &mnt_unref_table)
{
}

MountTable::~MountTable()
{
    close(_descriptor);
}

QStringList MountTable::mountPaths(dev_t number, const QString& deviceFile)
{
    if (number == 0) {
        return {};
    }
    // Asked before it is read: what changes in between is read again the next time.
    if (hasChanged() || !_entries) {
        _entries.reset(mnt_new_table_from_file(_file));
    }
    const Iterator iterator(mnt_new_iter(MNT_ITER_FORWARD), &mnt_free_iter);
    std::vector<QByteArray> paths;
    libmnt_fs* mounted = nullptr;
    while (_entries && mnt_table_next_fs(_entries.get(), iterator.get(), &mounted) == 0) {
        if (isOn(mounted, number, deviceFile.toUtf8())) {
            paths.push_back(text(mnt_fs_get_target(mounted)));
        }
    }
    std::sort(paths.begin(), paths.end(), std::greater<>());
    QStringList result;
    for (const QByteArray& path : paths) {
        result += QString::fromUtf8(path);
    }
    return result;
}

/// The kernel marks the open table when anything is mounted, moved or unmounted; asking takes the mark away.
bool MountTable::hasChanged() const
{
    pollfd table{_descriptor, POLLPRI, 0};
    return _descriptor < 0 || poll(&table, 1, 0) != 0;
}
