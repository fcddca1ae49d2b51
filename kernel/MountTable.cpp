#include "kernel/MountTable.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

#include <libmount.h>

#include <QFile>

namespace {

using Stream = std::unique_ptr<std::FILE, decltype(&std::fclose)>;
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

MountTable::Entries entriesOf(QByteArray& content)
{
    MountTable::Entries entries(mnt_new_table(), &mnt_unref_table);
    const Stream stream(fmemopen(content.data(), static_cast<std::size_t>(content.size()), "r"),
                        &std::fclose);
    if (stream && entries) {
        mnt_table_parse_stream(entries.get(), stream.get(), "mountinfo");
    }
    return entries;
}

} // namespace

MountTable::MountTable(const char* file)
    : _file(QString::fromLatin1(file))
    , _entries(nullptr, &mnt_unref_table)
{
}

QStringList MountTable::mountPaths(dev_t number, const QString& deviceFile)
{
    if (number == 0) {
        return {};
    }
    read();
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

/// Not left to poll(2), which tells of mounts and unmounts only: renaming a directory above a mount point
/// moves that too.
void MountTable::read()
{
    QFile file(_file);
    const QByteArray content = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    if (content != _content) {
        _content = content;
        _entries = entriesOf(_content);
    }
}
