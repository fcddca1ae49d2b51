#include "provider/udev/DriveProperties.h"

#include <algorithm>

namespace {

constexpr qlonglong Microseconds = 1000000;

/// Kinds of media as udev names them in its properties: which of them a drive takes, and which optical one is
/// in. In UDisks 1 the names are lower case, those of discs with "optical_" before them.
constexpr const char* Cards[] = {"FLASH",      "FLASH_CF",  "FLASH_MS", "FLASH_SM",   "FLASH_SD",
                                 "FLASH_SDHC", "FLASH_MMC", "FLOPPY",   "FLOPPY_ZIP", "FLOPPY_JAZ"};
constexpr const char* Discs[] = {
    "CD",      "CD_R",       "CD_RW",       "DVD",           "DVD_R",          "DVD_RW",
    "DVD_RAM", "DVD_PLUS_R", "DVD_PLUS_RW", "DVD_PLUS_R_DL", "DVD_PLUS_RW_DL", "BD",
    "BD_R",    "BD_RE",      "HDDVD",       "HDDVD_R",       "HDDVD_RW",       "MO",
    "MRW",     "MRW_W"};

bool isOptical(const BlockDevice& device)
{
    return device.flag("ID_CDROM");
}

bool hasMedium(const BlockDevice& device, const Sysfs& sysfs)
{
    return isOptical(device) ? device.flag("ID_CDROM_MEDIA") : sysfs.number(device.path(), "size") != 0;
}

template<typename Kinds>
QStringList media(const BlockDevice& device, const Kinds& kinds, const QByteArray& property,
                  const QByteArray& name)
{
    QStringList result;
    for (const char* kind : kinds) {
        if (device.flag((property + kind).constData())) {
            result += QString::fromLatin1(name + QByteArray(kind).toLower());
        }
    }
    return result;
}

QStringList mediaTaken(const BlockDevice& device)
{
    return media(device, Cards, "ID_DRIVE_", "") + media(device, Discs, "ID_CDROM_", "optical_");
}

/// The most exact name of the medium that is in; a drive for cards says only which it takes.
QString mediumPresent(const BlockDevice& device, const Sysfs& sysfs)
{
    const QStringList kinds = isOptical(device) ? media(device, Discs, "ID_CDROM_MEDIA_", "optical_")
                                                : media(device, Cards, "ID_DRIVE_", "");
    return hasMedium(device, sysfs) && !kinds.isEmpty() ? kinds.last() : QString();
}

/// Only these are put out by the drive itself; a stick is not.
bool isEjectable(const QStringList& media)
{
    return std::any_of(media.begin(), media.end(), [](const QString& medium) {
        return medium.startsWith(QLatin1String("optical")) || medium == QLatin1String("floppy_zip") ||
               medium == QLatin1String("floppy_jaz");
    });
}

bool isOnUsb(const BlockDevice& device)
{
    return device.path().contains("/usb");
}

/// udev's bus is that of the disk: behind some USB bridges it is "ata".
QString interfaceOf(const BlockDevice& device)
{
    const QByteArray bus = isOnUsb(device) ? "usb" : device.value("ID_BUS");
    if (device.path().contains("/mmc_host/")) {
        return QStringLiteral("sdio");
    }
    if (bus == "ata") {
        return device.flag("ID_ATA_SATA") ? QStringLiteral("ata_serial") : QStringLiteral("ata");
    }
    return bus == "ieee1394" ? QStringLiteral("firewire") : QString::fromUtf8(bus);
}

/// The first of the properties that has a value; names that the hardware pads with blanks lose those.
QString firstOf(const BlockDevice& device, std::initializer_list<const char*> properties)
{
    for (const char* property : properties) {
        QString text = device.decodedText(property).simplified();
        if (!text.isEmpty()) {
            return text;
        }
    }
    return QString();
}

/// udev puts ID_SERIAL together from other names where it knows the bus: that is not a number of the
/// hardware.
QString serialOf(const BlockDevice& device)
{
    return device.has("ID_BUS") ? firstOf(device, {"ID_SERIAL_SHORT"})
                                : firstOf(device, {"ID_SERIAL_SHORT", "ID_SERIAL"});
}

QVariantMap hardwareProperties(const BlockDevice& device, const Sysfs& sysfs)
{
    const QString firmware =
        QString::fromUtf8(sysfs.value(device.diskPath(), "device/firmware_rev")).simplified();
    const QString revision = firstOf(device, {"ID_REVISION"});
    return {
        {QStringLiteral("DriveVendor"), firstOf(device, {"ID_VENDOR_ENC", "ID_VENDOR"})},
        {QStringLiteral("DriveModel"), firstOf(device, {"ID_MODEL_ENC", "ID_MODEL", "ID_NAME"})},
        {QStringLiteral("DriveRevision"), revision.isEmpty() ? firmware : revision},
        {QStringLiteral("DriveSerial"), serialOf(device)},
        {QStringLiteral("DriveWwn"), firstOf(device, {"ID_WWN_WITH_EXTENSION", "ID_WWN"})},
        {QStringLiteral("DriveConnectionInterface"), interfaceOf(device)},
        {QStringLiteral("DriveCanDetach"), isOnUsb(device)},
        {QStringLiteral("DriveIsRotational"), sysfs.number(device.diskPath(), "queue/rotational") != 0},
        {QStringLiteral("DriveRotationRate"), static_cast<uint>(device.number("ID_ATA_ROTATION_RATE_RPM"))},
    };
}

QVariantMap mediumProperties(const BlockDevice& device, const Sysfs& sysfs)
{
    const bool isRemovable = sysfs.number(device.diskPath(), "removable") != 0;
    const bool isAnnounced = sysfs.value(device.diskPath(), "events").contains("media_change");
    const QStringList taken = mediaTaken(device);
    return {
        {QStringLiteral("DeviceIsMediaChangeDetected"), !isRemovable || isAnnounced},
        {QStringLiteral("DeviceIsRemovable"), isRemovable},
        {QStringLiteral("DeviceIsOpticalDisc"), !device.isPartition() && device.flag("ID_CDROM_MEDIA")},
        {QStringLiteral("DriveMedia"), mediumPresent(device, sysfs)},
        {QStringLiteral("DriveMediaCompatibility"), taken},
        {QStringLiteral("DriveIsMediaEjectable"), isEjectable(taken)},
        {QStringLiteral("OpticalDiscIsBlank"), device.value("ID_CDROM_MEDIA_STATE") == "blank"},
        {QStringLiteral("OpticalDiscNumTracks"),
         static_cast<uint>(device.number("ID_CDROM_MEDIA_TRACK_COUNT"))},
        {QStringLiteral("OpticalDiscNumAudioTracks"),
         static_cast<uint>(device.number("ID_CDROM_MEDIA_TRACK_COUNT_AUDIO"))},
        {QStringLiteral("OpticalDiscNumSessions"),
         static_cast<uint>(device.number("ID_CDROM_MEDIA_SESSION_COUNT"))},
    };
}

} // namespace

QVariantMap driveProperties(const BlockDevice& device, const Sysfs& sysfs, qlonglong bootTime)
{
    const bool isAvailable = hasMedium(device, sysfs);
    QVariantMap result{{QStringLiteral("DeviceIsMediaAvailable"), isAvailable}};
    if (device.path().startsWith("/devices/virtual/")) {
        return result;
    }
    const auto sinceBoot = static_cast<qlonglong>(device.number("USEC_INITIALIZED"));
    const auto detected = static_cast<qulonglong>((bootTime + sinceBoot) / Microseconds);
    result.insert(QStringLiteral("DeviceDetectionTime"), detected);
    result.insert(QStringLiteral("DeviceMediaDetectionTime"), isAvailable ? detected : 0);
    result.insert(hardwareProperties(device, sysfs));
    result.insert(mediumProperties(device, sysfs));
    return result;
}
