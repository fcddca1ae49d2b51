#include "provider/Device.h"

#include <sys/sysmacros.h>

QStringList Device::files() const
{
    return QStringList(properties.value(QStringLiteral("DeviceFile")).toString()) +
           properties.value(QStringLiteral("DeviceFileById")).toStringList() +
           properties.value(QStringLiteral("DeviceFileByPath")).toStringList();
}

bool Device::hasFile(const QString& file) const
{
    return files().contains(file);
}

bool Device::hasNumber(qlonglong majorNumber, qlonglong minorNumber) const
{
    const qlonglong shownMajor = properties.value(QStringLiteral("DeviceMajor")).toLongLong();
    const qlonglong shownMinor = properties.value(QStringLiteral("DeviceMinor")).toLongLong();
    const dev_t known =
        number != 0 ? number : makedev(static_cast<unsigned>(shownMajor), static_cast<unsigned>(shownMinor));
    return known != 0 && major(known) == majorNumber && minor(known) == minorNumber;
}
