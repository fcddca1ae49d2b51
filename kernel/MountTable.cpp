#include "kernel/MountTable.h"

#include <algorithm>
#include <functional>
#include <system_error>

#include <fcntl.h>

#include <QFile>

#include "kernel/Descriptor.h"

namespace {

QByteArray contentOf(const std::string& path)
{
    const Descriptor descriptor = openFile(path, O_RDONLY, "cannot read");
    QFile file;
    file.open(descriptor.get(), QIODevice::ReadOnly);
    return file.readAll();
}

bool isOn(const Mount& mount, dev_t number, const QByteArray& deviceFile)
{
    return mount.root == "/" &&
           (mount.number == number || (mount.type == "btrfs" && mount.source == deviceFile));
}

} // namespace

MountTable::MountTable(std::string file)
    : _file(std::move(file))
{
}

/// Not left to poll(2), which reports mounts and unmounts only: renaming a directory above a mount point
/// moves that too.
const std::vector<Mount>& MountTable::read() &
{
    const QByteArray content = contentOf(_file);
    if (content != _content) {
        _content = content;
        _mounts = MountInfo::parse(content);
    }
    return _mounts;
}

const std::vector<Mount>& MountTable::mounts() &
{
    try {
        return read();
    } catch (const std::system_error&) {
        _content.clear();
        _mounts.clear();
        return _mounts;
    }
}

QStringList MountTable::mountPaths(dev_t number, const QString& deviceFile)
{
    if (number == 0) {
        return {};
    }
    std::vector<QByteArray> paths;
    for (const Mount& mount : mounts()) {
        if (isOn(mount, number, deviceFile.toUtf8())) {
            paths.push_back(mount.target);
        }
    }
    std::sort(paths.begin(), paths.end(), std::greater<>());
    QStringList result;
    for (const QByteArray& path : paths) {
        result += QString::fromUtf8(path);
    }
    return result;
}
