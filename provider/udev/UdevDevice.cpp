#include "provider/udev/UdevDevice.h"

#include <algorithm>

#include <sys/sysmacros.h>

#include <QDBusObjectPath>

#include "interfaces/ObjectPath.h"
#include "interfaces/PartitionScheme.h"
#include "provider/udev/DriveProperties.h"
#include "provider/udev/Placement.h"

namespace {

/// The unit of sizes in sysfs and in udev's properties, whatever the disk's own.
constexpr qulonglong SizeUnit = 512;

const QStringList ByPath{QStringLiteral("/dev/disk/by-path/")};

/// For the kernel an optical drive without a disc has some size.
qulonglong sizeOf(const BlockDevice& device, const Sysfs& sysfs)
{
    const bool isEmpty = device.flag("ID_CDROM") && !device.flag("ID_CDROM_MEDIA");
    return isEmpty ? 0 : sysfs.number(device.path(), "size") * SizeUnit;
}

qulonglong sectorSize(const BlockDevice& device, const Sysfs& sysfs)
{
    if (sizeOf(device, sysfs) == 0) {
        return 0;
    }
    return device.isPartition() ? SizeUnit : sysfs.number(device.path(), "queue/hw_sector_size", SizeUnit);
}

/// The usual name of a mapped device or an array; otherwise the node.
QString presentedFile(const BlockDevice& device)
{
    const QStringList links = device.linksIn({QStringLiteral("/dev/mapper/"), QStringLiteral("/dev/md/")});
    return links.value(0, device.text("DEVNAME"));
}

QVariantMap generalProperties(const BlockDevice& device, const Sysfs& sysfs)
{
    const QStringList idDirectories{QStringLiteral("/dev/disk/by-id/"), QStringLiteral("/dev/disk/by-uuid/")};
    return {
        {QStringLiteral("NativePath"), QString::fromUtf8("/sys" + device.path())},
        {QStringLiteral("DeviceFile"), device.text("DEVNAME")},
        {QStringLiteral("DeviceFilePresentation"), presentedFile(device)},
        {QStringLiteral("DeviceFileById"), device.linksIn(idDirectories)},
        {QStringLiteral("DeviceFileByPath"), device.linksIn(ByPath)},
        {QStringLiteral("DeviceMajor"), qlonglong(major(device.number()))},
        {QStringLiteral("DeviceMinor"), qlonglong(minor(device.number()))},
        {QStringLiteral("DeviceSize"), sizeOf(device, sysfs)},
        {QStringLiteral("DeviceBlockSize"), sectorSize(device, sysfs)},
        {QStringLiteral("DeviceIsReadOnly"), sysfs.number(device.path(), "ro") != 0},
        {QStringLiteral("DeviceIsSystemInternal"), placementOf(device, sysfs).isInternal},
        {QStringLiteral("DeviceIsDrive"), !device.isPartition()},
        {QStringLiteral("DeviceIsPartition"), device.isPartition()},
        {QStringLiteral("DevicePresentationHide"), device.flag("UDISKS_IGNORE")},
        {QStringLiteral("DevicePresentationName"), device.text("UDISKS_NAME")},
        {QStringLiteral("DevicePresentationIconName"), device.text("UDISKS_ICON_NAME")},
    };
}

bool isExtended(const BlockDevice& device)
{
    const qulonglong type = device.number("ID_PART_ENTRY_TYPE");
    return device.value("ID_PART_ENTRY_SCHEME") == "dos" && (type == 0x05 || type == 0x0f || type == 0x85);
}

QVariantMap contentProperties(const BlockDevice& device)
{
    const bool holdsPartitions = isExtended(device);
    const QString type = holdsPartitions ? QString() : device.text("ID_FS_TYPE");
    return {
        {QStringLiteral("IdUsage"), holdsPartitions ? QString() : device.text("ID_FS_USAGE")},
        {QStringLiteral("IdType"), type},
        {QStringLiteral("IdVersion"), device.text("ID_FS_VERSION")},
        {QStringLiteral("IdLabel"), device.decodedText("ID_FS_LABEL_ENC")},
        {QStringLiteral("IdUuid"), device.decodedText("ID_FS_UUID_ENC")},
        {QStringLiteral("DeviceIsLuks"), type == QLatin1String("crypto_LUKS")},
        {QStringLiteral("DeviceIsLinuxMdComponent"), type == QLatin1String("linux_raid_member")},
    };
}

int countPartitions(const BlockDevice& disk, const Sysfs& sysfs)
{
    const QByteArrayList names = sysfs.names(disk.path(), ".");
    return static_cast<int>(std::count_if(names.begin(), names.end(), [&](const QByteArray& name) {
        return sysfs.exists(disk.path() + '/' + name + "/partition");
    }));
}

/// The parts of a disk: the devices below it and its partitions. A partition has its disk's
/// ID_PART_TABLE_TYPE too: udev hands it down.
QVariantMap diskProperties(const BlockDevice& disk, const Sysfs& sysfs)
{
    const QString scheme = partitionScheme(disk.text("ID_PART_TABLE_TYPE"));
    const QString backingFile = QString::fromUtf8(sysfs.value(disk.path(), "loop/backing_file"));
    return {
        {QStringLiteral("DeviceIsPartitionTable"), !scheme.isEmpty()},
        {QStringLiteral("PartitionTableScheme"), scheme},
        {QStringLiteral("PartitionTableCount"), countPartitions(disk, sysfs)},
        {QStringLiteral("DeviceIsLinuxMd"), sysfs.exists(disk.path() + "/md")},
        {QStringLiteral("DeviceIsLinuxLoop"), !backingFile.isEmpty()},
        {QStringLiteral("LinuxLoopFilename"), backingFile},
    };
}

QStringList partitionFlags(const BlockDevice& device)
{
    constexpr qulonglong MbrBoot = 0x80;
    constexpr qulonglong GptRequired = 1;
    const qulonglong flags = device.number("ID_PART_ENTRY_FLAGS");
    const QByteArray scheme = device.value("ID_PART_ENTRY_SCHEME");
    if (scheme == "dos" && (flags & MbrBoot) != 0) {
        return {QStringLiteral("boot")};
    }
    if (scheme == "gpt" && (flags & GptRequired) != 0) {
        return {QStringLiteral("required")};
    }
    return {};
}

/// udev writes the types of MBR without leading zeros.
QString partitionType(const BlockDevice& device)
{
    if (device.value("ID_PART_ENTRY_SCHEME") == "dos") {
        return QStringLiteral("0x%1").arg(device.number("ID_PART_ENTRY_TYPE"), 2, 16, QLatin1Char('0'));
    }
    const QString type = device.text("ID_PART_ENTRY_TYPE");
    return device.value("ID_PART_ENTRY_SCHEME") == "gpt" ? type.toUpper() : type;
}

QVariantMap partitionProperties(const BlockDevice& device, const Sysfs& sysfs)
{
    const QByteArray disk = device.diskPath();
    const QString slave = ObjectPath::ofDevice(disk.mid(disk.lastIndexOf('/') + 1));
    return {
        {QStringLiteral("PartitionScheme"), partitionScheme(device.text("ID_PART_ENTRY_SCHEME"))},
        {QStringLiteral("PartitionType"), partitionType(device)},
        {QStringLiteral("PartitionFlags"), partitionFlags(device)},
        {QStringLiteral("PartitionNumber"), static_cast<int>(sysfs.number(device.path(), "partition"))},
        {QStringLiteral("PartitionOffset"), sysfs.number(device.path(), "start") * SizeUnit},
        {QStringLiteral("PartitionSize"), sizeOf(device, sysfs)},
        {QStringLiteral("PartitionLabel"), device.decodedText("ID_PART_ENTRY_NAME")},
        {QStringLiteral("PartitionUuid"), device.text("ID_PART_ENTRY_UUID")},
        {QStringLiteral("PartitionSlave"), QVariant::fromValue(QDBusObjectPath(slave))},
    };
}

/// The first of the device's holders or slaves; "/" if there is none.
QDBusObjectPath neighbour(const QByteArrayList& names)
{
    return QDBusObjectPath(names.isEmpty() ? QStringLiteral("/") : ObjectPath::ofDevice(names.first()));
}

QByteArrayList openedFrom(const BlockDevice& device, const Sysfs& sysfs)
{
    QByteArrayList names = sysfs.names(device.path(), "holders");
    const auto isOther = [&](const QByteArray& name) {
        return !sysfs.value(device.path() + "/holders/" + name, "dm/uuid").startsWith("CRYPT-");
    };
    names.erase(std::remove_if(names.begin(), names.end(), isOther), names.end());
    return names;
}

QVariantMap encryptionProperties(const BlockDevice& device, const Sysfs& sysfs)
{
    const bool isOpened = sysfs.value(device.path(), "dm/uuid").startsWith("CRYPT-");
    const QByteArrayList slaves = isOpened ? sysfs.names(device.path(), "slaves") : QByteArrayList();
    return {
        {QStringLiteral("LuksHolder"), QVariant::fromValue(neighbour(openedFrom(device, sysfs)))},
        {QStringLiteral("LuksCleartextSlave"), QVariant::fromValue(neighbour(slaves))},
        {QStringLiteral("DeviceIsLuksCleartext"), !slaves.isEmpty()},
    };
}

bool isShown(const BlockDevice& device, const Sysfs& sysfs)
{
    const QByteArray name = device.name();
    const bool isUnusedLoopDevice = !device.isPartition() && name.startsWith("loop") &&
                                    sysfs.value(device.path(), "loop/backing_file").isEmpty();
    const bool isLeftOver = device.isPartition() && sysfs.number(device.diskPath(), "size") == 0;
    return device.number() != 0 && !name.startsWith("ram") && !isUnusedLoopDevice && !isLeftOver;
}

QStringList basisOf(const BlockDevice& device, const Sysfs& sysfs)
{
    QStringList result;
    if (device.isPartition()) {
        result += BlockDevice({{"DEVPATH", device.diskPath()}}).objectPath();
    }
    for (const QByteArray& name : sysfs.names(device.path(), "slaves")) {
        result += ObjectPath::ofDevice(name);
    }
    return result;
}

} // namespace

std::optional<UdevDevice> shownAs(const BlockDevice& device, const Sysfs& sysfs, qlonglong bootTime)
{
    if (!isShown(device, sysfs)) {
        return std::nullopt;
    }
    UdevDevice result;
    QVariantMap& properties = result.device.properties;
    result.device.objectPath = device.objectPath();
    result.device.number = device.number();
    properties = generalProperties(device, sysfs);
    properties.insert(contentProperties(device));
    properties.insert(device.isPartition() ? partitionProperties(device, sysfs)
                                           : diskProperties(device, sysfs));
    properties.insert(encryptionProperties(device, sysfs));
    properties.insert(driveProperties(device, sysfs, bootTime));
    if (device.value("ID_PART_ENTRY_SCHEME") == "gpt") {
        result.device.partitionAttributes = device.number("ID_PART_ENTRY_FLAGS");
    }
    result.order = BusOrder::of(device.linksIn(ByPath),
                                properties.value(QStringLiteral("PartitionNumber")).toInt(), device.number());
    result.device.basis = basisOf(device, sysfs);
    return result;
}
