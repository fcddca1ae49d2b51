#include "provider/MountTable.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

#include <libmount.h>

namespace MountTable {
namespace {

using Table = std::unique_ptr<libmnt_table, decltype(&mnt_unref_table)>;
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

QStringList mountPaths(dev_t number, const QString& deviceFile, const char* table)
{
    if (number == 0) {
        return {};
    }
    const Table entries(mnt_new_table_from_file(table), &mnt_unref_table);
    const Iterator iterator(mnt_new_iter(MNT_ITER_FORWARD), &mnt_free_iter);
    std::vector<QByteArray> paths;
    libmnt_fs* mounted = nullptr;
    while (entries && mnt_table_next_fs(entries.get(), iterator.get(), &mounted) == 0) {
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

} // namespace MountTable
