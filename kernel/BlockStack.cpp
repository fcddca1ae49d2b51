#include "kernel/BlockStack.h"

#include <filesystem>

#include <sys/sysmacros.h>

namespace {

/// The unit of sizes in sysfs, whatever the disk's own.
constexpr quint64 SizeUnit = 512;

QByteArray lastPart(const QByteArray& path)
{
    return path.mid(path.lastIndexOf('/') + 1);
}

QByteArray parentOf(const QByteArray& path)
{
    return path.left(path.lastIndexOf('/'));
}

} // namespace

BlockStack::BlockStack(Sysfs sysfs)
    : _sysfs(std::move(sysfs))
{
}

bool BlockStack::exists(dev_t number) const
{
    return !pathOf(number).isEmpty();
}

dev_t BlockStack::numberOf(const QByteArray& node) const
{
    std::error_code failure;
    const std::string file = std::filesystem::canonical(node.toStdString(), failure);
    const QByteArray name = lastPart(failure ? node : QByteArray::fromStdString(file));
    return node.startsWith("/dev/") ? numberAt("/class/block/" + name) : 0;
}

dev_t BlockStack::diskOf(dev_t number) const
{
    return isPartition(number) ? numberAt(parentOf(pathOf(number))) : number;
}

QByteArray BlockStack::kernelName(dev_t number) const
{
    return lastPart(pathOf(number));
}

bool BlockStack::isPartition(dev_t number) const
{
    const QByteArray path = pathOf(number);
    return !path.isEmpty() && _sysfs.exists(path + "/partition");
}

bool BlockStack::isReadOnly(dev_t number) const
{
    const QByteArray path = pathOf(number);
    return !path.isEmpty() && _sysfs.number(path, "ro") != 0;
}

quint64 BlockStack::bytesOf(dev_t number) const
{
    const QByteArray path = pathOf(number);
    return path.isEmpty() ? 0 : _sysfs.number(path, "size") * SizeUnit;
}

std::vector<dev_t> BlockStack::partitionsOf(dev_t number) const
{
    const QByteArray path = pathOf(number);
    std::vector<dev_t> result;
    for (const QByteArray& name : path.isEmpty() ? QByteArrayList() : _sysfs.names(path, ".")) {
        if (_sysfs.exists(path + '/' + name + "/partition")) {
            result.push_back(numberAt(path + '/' + name));
        }
    }
    return result;
}

std::vector<dev_t> BlockStack::componentsOf(dev_t number) const
{
    const QByteArray path = pathOf(number);
    std::vector<dev_t> result;
    for (const QByteArray& name : _sysfs.names(path, "slaves")) {
        result.push_back(numberAt(path + "/slaves/" + name));
    }
    return result;
}

QByteArray BlockStack::backingFile(dev_t number) const
{
    return _sysfs.value(pathOf(number), "loop/backing_file");
}

QByteArray BlockStack::pathOf(dev_t number) const
{
    const QByteArray name = QByteArray::number(major(number)) + ':' + QByteArray::number(minor(number));
    return _sysfs.target("/dev/block/" + name);
}

dev_t BlockStack::numberAt(const QByteArray& path) const
{
    const QList<QByteArray> parts = _sysfs.value(path, "dev").split(':');
    return makedev(parts.value(0).toUInt(), parts.value(1).toUInt());
}
