#include "provider/today/DeviceTraits.h"

namespace DeviceTraits {
namespace {

QVariant value(const Device& device, const char* property)
{
    const QString name = QString::fromLatin1(property);
    return device.missing.contains(name) ? QVariant() : device.properties.value(name);
}

} // namespace

QString text(const Device& device, const char* property)
{
    return value(device, property).toString();
}

bool flag(const Device& device, const char* property)
{
    return value(device, property).toBool();
}

qlonglong number(const Device& device, const char* property)
{
    return value(device, property).toLongLong();
}

void set(Device& device, const char* property, const QVariant& value)
{
    const QString name = QString::fromLatin1(property);
    device.properties.insert(name, value);
    device.missing.remove(name);
}

QString kernelName(const Device& device)
{
    return device.objectPath.mid(device.objectPath.lastIndexOf(QLatin1Char('/')) + 1);
}

bool isNumberedDevice(const Device& device, QLatin1String word)
{
    const QString name = kernelName(device);
    return name.size() > word.size() && name.startsWith(word) && name[word.size()].isDigit();
}

bool isInternalPartition(const Device& device)
{
    return flag(device, "DeviceIsPartition") && flag(device, "DeviceIsSystemInternal");
}

bool isExternalFileSystem(const Device& device)
{
    const QString type = text(device, "IdType");
    return !flag(device, "DeviceIsSystemInternal") && !type.isEmpty() &&
           text(device, "IdUsage") == QLatin1String("filesystem") && !type.contains(QLatin1String("swap"));
}

bool isNtfs(const Device& device)
{
    return text(device, "IdType").contains(QLatin1String("ntfs"));
}

bool isEfiSystemPartition(const Device& device)
{
    constexpr uint MbrEfi = 0xef;
    return mbrType(device) == MbrEfi ||
           gptType(device) == QLatin1String("C12A7328-F81F-11D2-BA4B-00A0C93EC93B");
}

uint mbrType(const Device& device)
{
    constexpr int AsWritten = 0;
    return text(device, "PartitionScheme") == QLatin1String("mbr")
               ? text(device, "PartitionType").toUInt(nullptr, AsWritten)
               : 0;
}

QString gptType(const Device& device)
{
    return text(device, "PartitionScheme") == QLatin1String("gpt") ? text(device, "PartitionType").toUpper()
                                                                   : QString();
}

} // namespace DeviceTraits
