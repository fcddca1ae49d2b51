#include "drives/MountPolicy.h"

#include <algorithm>

#include <QDir>

namespace MountPolicy {
namespace {

constexpr int DevPrefixLength = 5;
constexpr QLatin1Char Slash('/');

bool leadsElsewhere(const QString& component)
{
    return component == QLatin1String(".") || component == QLatin1String("..") ||
           component.contains(QChar::Null);
}

} // namespace

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

QString nodeName(const QString& deviceFile)
{
    // Kept: the prefix is cut by position, whatever it is.
    return deviceFile.mid(DevPrefixLength);
}

bool isLabelAllowed(const QString& name)
{
    return !leadsElsewhere(name) && !name.contains(Slash);
}

bool isNodeAllowed(const QString& name)
{
    const QStringList components = name.split(Slash);
    return !name.startsWith(Slash) && std::none_of(components.begin(), components.end(), leadsElsewhere);
}

QString pathBelow(const QString& root, const QString& name)
{
    const QString directory = QDir::cleanPath(root);
    // Not the framework's joining of paths: it takes a name that begins with ":" for one of its resources.
    return name.isEmpty() ? directory : directory + Slash + name;
}

MountDirectory directoryForLabel(const QString& root, const QString& name)
{
    return {root, name, isLabelAllowed(name)};
}

MountDirectory directoryForNode(const QString& root, const QString& deviceFile)
{
    const QString name = nodeName(deviceFile);
    return {root, name, isNodeAllowed(name)};
}

QString hexStatus(qint64 status)
{
    // The framework shows a negative number in base 16 as its two's complement.
    return status < 0 ? QLatin1Char('-') + QString::number(-status, 16) : QString::number(status, 16);
}

} // namespace MountPolicy
