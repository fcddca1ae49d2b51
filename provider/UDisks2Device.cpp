#include "provider/UDisks2Device.h"

#include <algorithm>

#include <sys/sysmacros.h>

#include <QDBusArgument>
#include <QRegularExpression>

#include "provider/BlockObject.h"
#include "provider/ObjectPath.h"
#include "provider/PartitionScheme.h"

namespace {

constexpr qlonglong SCSI_MAJOR = 8;
constexpr qulonglong PARTITION_SECTOR = 512;
constexpr qulonglong MICROSECONDS = 1000000;

QVariant value(const QVariantMap& properties, const char* name)
{
    return properties.value(QString::fromLatin1(name));
}

QString text(const QVariantMap& properties, const char* name)
{
    return value(properties, name).toString();
}

bool flag(const QVariantMap& properties, const char* name)
{
    return value(properties, name).toBool();
}

qulonglong number(const QVariantMap& properties, const char* name)
{
    return value(properties, name).toULongLong();
}

/// Whether it is the path of an object; "/" stands for none.
bool refersTo(const QVariant& path)
{
    return path.value<QDBusObjectPath>().path().size() > 1;
}

/// The kernel's name; of a device that the kernel has just lost, the last part of its node.
QByteArray kernelName(const BlockObject& object, const Sysfs& sysfs)
{
    const QByteArray name = sysfs.kernelName(object.number());
    return !name.isEmpty() ? name : object.file().section(QLatin1Char('/'), -1).toUtf8();
}

bool isScsiMajor(qlonglong majorNumber)
{
    return majorNumber == SCSI_MAJOR || (majorNumber >= 65 && majorNumber <= 71) ||
           (majorNumber >= 128 && majorNumber <= 135);
}

qlonglong shownMajor(const BlockObject& object, bool showsTrueMajor)
{
    const qlonglong own = major(object.number());
    const bool isOnLoopDevice = object.disk.contains(UDisks2::LOOP);
    const bool isOfInternalDisk = object.isPartition() && flag(object.block, "HintSystem") && !isOnLoopDevice;
    return isOfInternalDisk && !showsTrueMajor && !isScsiMajor(own) ? SCSI_MAJOR : own;
}

qulonglong sectorSize(const BlockObject& object, const Sysfs& sysfs)
{
    if (number(object.block, "Size") == 0) {
        return 0;
    }
    return object.isPartition() ? PARTITION_SECTOR : sysfs.sectorSize(object.number());
}

QVariantMap generalProperties(const BlockObject& object, const Sysfs& sysfs, bool showsTrueMajor)
{
    const QStringList idDirectories{QStringLiteral("/dev/disk/by-id/"), QStringLiteral("/dev/disk/by-uuid/")};
    return {
        {QStringLiteral("NativePath"), sysfs.nativePath(object.number())},
        {QStringLiteral("DeviceFile"), object.file()},
        {QStringLiteral("DeviceFilePresentation"), object.preferredFile()},
        {QStringLiteral("DeviceFileById"), object.linksIn(idDirectories)},
        {QStringLiteral("DeviceFileByPath"), object.linksIn({QStringLiteral("/dev/disk/by-path/")})},
        {QStringLiteral("DeviceMajor"), shownMajor(object, showsTrueMajor)},
        {QStringLiteral("DeviceMinor"), qlonglong(minor(object.number()))},
        {QStringLiteral("DeviceSize"), number(object.block, "Size")},
        {QStringLiteral("DeviceBlockSize"), sectorSize(object, sysfs)},
        {QStringLiteral("DeviceIsReadOnly"), flag(object.block, "ReadOnly")},
        {QStringLiteral("DeviceIsSystemInternal"), flag(object.block, "HintSystem")},
        {QStringLiteral("DeviceIsDrive"), !object.isPartition()},
        {QStringLiteral("DeviceIsPartition"), object.isPartition()},
        {QStringLiteral("DevicePresentationHide"), flag(object.block, "HintIgnore")},
        {QStringLiteral("DevicePresentationName"), text(object.block, "HintName")},
        {QStringLiteral("DevicePresentationIconName"), text(object.block, "HintIconName")},
    };
}

QVariantMap contentProperties(const BlockObject& object)
{
    const bool holdsPartitions = object.isExtended();
    const QString type = holdsPartitions ? QString() : text(object.block, "IdType");
    return {
        {QStringLiteral("IdUsage"), holdsPartitions ? QString() : text(object.block, "IdUsage")},
        {QStringLiteral("IdType"), type},
        {QStringLiteral("IdVersion"), text(object.block, "IdVersion")},
        {QStringLiteral("IdLabel"), text(object.block, "IdLabel")},
        {QStringLiteral("IdUuid"), text(object.block, "IdUUID")},
        {QStringLiteral("DeviceIsLuks"), type == QLatin1String("crypto_LUKS")},
        {QStringLiteral("DeviceIsPartitionTable"), !object.table.isEmpty()},
        {QStringLiteral("PartitionTableScheme"), partitionScheme(text(object.table, "Type"))},
        {QStringLiteral("PartitionTableCount"),
         qdbus_cast<QList<QDBusObjectPath>>(value(object.table, "Partitions")).size()},
        {QStringLiteral("DeviceIsLinuxMd"), refersTo(value(object.block, "MDRaid"))},
        {QStringLiteral("DeviceIsLinuxMdComponent"), refersTo(value(object.block, "MDRaidMember"))},
        {QStringLiteral("DeviceIsLinuxLoop"), !object.loop.isEmpty()},
        {QStringLiteral("LinuxLoopFilename"), object.backingFile()},
    };
}

QStringList partitionFlags(const BlockObject& object)
{
    constexpr qulonglong MBR_BOOT = 0x80;
    constexpr qulonglong GPT_REQUIRED = 1;
    const qulonglong flags = number(object.partition, "Flags");
    const QString scheme = object.schemeOfPartition();
    if (scheme == QLatin1String("dos") && (flags & MBR_BOOT) != 0) {
        return {QStringLiteral("boot")};
    }
    if (scheme == QLatin1String("gpt") && (flags & GPT_REQUIRED) != 0) {
        return {QStringLiteral("required")};
    }
    return {};
}

QString partitionType(const BlockObject& object)
{
    const QString type = text(object.partition, "Type");
    return object.schemeOfPartition() == QLatin1String("gpt") ? type.toUpper() : type;
}

QVariantMap partitionProperties(const BlockObject& object)
{
    if (!object.isPartition()) {
        return {};
    }
    return {
        {QStringLiteral("PartitionScheme"), partitionScheme(object.schemeOfPartition())},
        {QStringLiteral("PartitionType"), partitionType(object)},
        {QStringLiteral("PartitionFlags"), partitionFlags(object)},
        {QStringLiteral("PartitionNumber"), value(object.partition, "Number").toInt()},
        {QStringLiteral("PartitionOffset"), number(object.partition, "Offset")},
        {QStringLiteral("PartitionSize"), number(object.partition, "Size")},
        {QStringLiteral("PartitionLabel"), text(object.partition, "Name")},
        {QStringLiteral("PartitionUuid"), text(object.partition, "UUID")},
    };
}

/// UDisks2's own flag is true for every stick.
bool isEjectable(const QStringList& media)
{
    return std::any_of(media.begin(), media.end(), [](const QString& medium) {
        return medium.startsWith(QLatin1String("optical")) || medium == QLatin1String("floppy_zip") ||
               medium == QLatin1String("floppy_jaz");
    });
}

QVariantMap driveProperties(const BlockObject& object)
{
    const QVariantMap& drive = object.drive;
    if (drive.isEmpty()) {
        return {{QStringLiteral("DeviceIsMediaAvailable"), number(object.block, "Size") > 0}};
    }
    const QStringList media = value(drive, "MediaCompatibility").toStringList();
    const int rotationRate = value(drive, "RotationRate").toInt();
    return {
        {QStringLiteral("DeviceIsMediaAvailable"), flag(drive, "MediaAvailable")},
        {QStringLiteral("DeviceIsMediaChangeDetected"), flag(drive, "MediaChangeDetected")},
        {QStringLiteral("DeviceIsRemovable"), flag(drive, "MediaRemovable")},
        {QStringLiteral("DeviceIsOpticalDisc"), !object.isPartition() && flag(drive, "Optical")},
        {QStringLiteral("DeviceDetectionTime"), number(drive, "TimeDetected") / MICROSECONDS},
        {QStringLiteral("DeviceMediaDetectionTime"), number(drive, "TimeMediaDetected") / MICROSECONDS},
        {QStringLiteral("DriveVendor"), text(drive, "Vendor")},
        {QStringLiteral("DriveModel"), text(drive, "Model")},
        {QStringLiteral("DriveRevision"), text(drive, "Revision")},
        {QStringLiteral("DriveSerial"), text(drive, "Serial")},
        {QStringLiteral("DriveWwn"), text(drive, "WWN")},
        {QStringLiteral("DriveConnectionInterface"), text(drive, "ConnectionBus")},
        {QStringLiteral("DriveMedia"), text(drive, "Media")},
        {QStringLiteral("DriveMediaCompatibility"), media},
        {QStringLiteral("DriveIsMediaEjectable"), isEjectable(media)},
        {QStringLiteral("DriveCanDetach"), flag(drive, "CanPowerOff")},
        {QStringLiteral("DriveIsRotational"), rotationRate != 0},
        {QStringLiteral("DriveRotationRate"), uint(std::max(rotationRate, 0))},
        {QStringLiteral("OpticalDiscIsBlank"), flag(drive, "OpticalBlank")},
        {QStringLiteral("OpticalDiscNumTracks"), value(drive, "OpticalNumTracks").toUInt()},
        {QStringLiteral("OpticalDiscNumAudioTracks"), value(drive, "OpticalNumAudioTracks").toUInt()},
        {QStringLiteral("OpticalDiscNumSessions"), value(drive, "OpticalNumSessions").toUInt()},
    };
}

/// References to other devices, which UDisks 1 knows under other paths.
QVariantMap relations(const UDisks2Objects& objects, const BlockObject& object, const Sysfs& sysfs)
{
    const auto pathOf = [&](const QVariant& udisks2Path) {
        const BlockObject other(objects, udisks2Path.value<QDBusObjectPath>());
        return other.block.isEmpty() ? QDBusObjectPath(QStringLiteral("/"))
                                     : QDBusObjectPath(ObjectPath::ofDevice(kernelName(other, sysfs)));
    };
    const QDBusObjectPath backing = pathOf(value(object.block, "CryptoBackingDevice"));
    return {
        {QStringLiteral("PartitionSlave"), QVariant::fromValue(pathOf(value(object.partition, "Table")))},
        {QStringLiteral("LuksHolder"),
         QVariant::fromValue(pathOf(value(object.encrypted, "CleartextDevice")))},
        {QStringLiteral("LuksCleartextSlave"), QVariant::fromValue(backing)},
        {QStringLiteral("DeviceIsLuksCleartext"), backing.path() != QLatin1String("/")},
    };
}

bool isShown(const BlockObject& object, const QByteArray& name)
{
    static const QRegularExpression ramDisk(QStringLiteral("^ram[0-9]+$"));
    const bool isUnusedLoopDevice = !object.loop.isEmpty() && object.backingFile().isEmpty();
    return !object.block.isEmpty() && !isUnusedLoopDevice &&
           !ramDisk.match(QString::fromUtf8(name)).hasMatch();
}

} // namespace

std::optional<UDisks2Device> translated(const UDisks2Objects& objects, const QDBusObjectPath& path,
                                        const Sysfs& sysfs, bool showsTrueMajor)
{
    const BlockObject object(objects, path);
    const QByteArray name = kernelName(object, sysfs);
    if (!isShown(object, name)) {
        return std::nullopt;
    }
    UDisks2Device result;
    Device& device = result.device;
    device.objectPath = ObjectPath::ofDevice(name);
    device.number = object.number();
    device.properties = generalProperties(object, sysfs, showsTrueMajor);
    device.properties.insert(contentProperties(object));
    device.properties.insert(partitionProperties(object));
    device.properties.insert(driveProperties(object));
    device.properties.insert(relations(objects, object, sysfs));
    result.order = BusOrder::of(object.linksIn({QStringLiteral("/dev/disk/by-path/")}),
                                value(object.partition, "Number").toInt(), object.number());
    result.isIdentified = object.isIdentified();
    return result;
}
