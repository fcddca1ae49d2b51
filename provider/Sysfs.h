#pragma once

#include <string>

#include <sys/types.h>

#include <QByteArray>
#include <QString>
#include <QtGlobal>

/// What the kernel tells of a block device by its number.
class Sysfs
{
public:
    explicit Sysfs(std::string root = "/sys");

    /// The kernel's name of the device, empty if it has none (any more).
    QByteArray kernelName(dev_t number) const;
    /// The directory of the device, empty likewise.
    QString nativePath(dev_t number) const;
    /// Bytes a sector, 512 if the kernel does not tell.
    qulonglong sectorSize(dev_t number) const;

private:
    std::string directoryOf(dev_t number) const;

    std::string _root;
};
