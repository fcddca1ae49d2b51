#include "drives/MountPolicy.h"

namespace MountPolicy {

bool isMountable(const QString& idType)
{
    return !idType.isEmpty() && !idType.contains(QLatin1String("swap"));
}

bool isNtfs(const QString& idType)
{
    return idType.contains(QLatin1String("ntfs"));
}

bool isVfat(const QString& idType)
{
    return idType.contains(QLatin1String("vfat"));
}

QString kernelMountData(const QString& idType)
{
    return isVfat(idType) ? QStringLiteral("utf8") : QLatin1String("");
}

} // namespace MountPolicy
