#include "provider/Sysfs.h"

#include <filesystem>
#include <fstream>

#include <sys/sysmacros.h>

namespace {

constexpr qulonglong USUAL_SECTOR = 512;

} // namespace

Sysfs::Sysfs(std::string root)
    : _root(std::move(root))
{
}

QByteArray Sysfs::kernelName(dev_t number) const
{
    return nativePath(number).section(QLatin1Char('/'), -1).toUtf8();
}

QString Sysfs::nativePath(dev_t number) const
{
    std::error_code failure;
    const std::filesystem::path path = std::filesystem::canonical(directoryOf(number), failure);
    return failure ? QString() : QString::fromStdString(path);
}

qulonglong Sysfs::sectorSize(dev_t number) const
{
    std::ifstream file(directoryOf(number) + "/queue/hw_sector_size");
    qulonglong size = 0;
    return file >> size ? size : USUAL_SECTOR;
}

std::string Sysfs::directoryOf(dev_t number) const
{
    return _root + "/dev/block/" + std::to_string(major(number)) + ":" + std::to_string(minor(number));
}
