#include "provider/udev/DriveProperties.h"

#include <algorithm>

namespace {

constexpr qlonglong Microseconds = 1000000;

/// What UDisks 1 calls a kind of medium, and how udev says that a drive takes it: in the name of a property.
/// For optical media a second property says that one is in.
struct Medium
{
    const char* name;
    const char* taken;
    const char* present;
};

constexpr Medium MEDIA[] = {
    {"flash", "ID_DRIVE_FLASH", ""},
    {"flash_cf", "ID_DRIVE_FLASH_CF", ""},
    {"flash_ms", "ID_DRIVE_FLASH_MS", ""},
    {"flash_sm", "ID_DRIVE_FLASH_SM", ""},
    {"flash_sd", "ID_DRIVE_FLASH_SD", ""},
    {"flash_sdhc", "ID_DRIVE_FLASH_SDHC", ""},
    {"flash_mmc", "ID_DRIVE_FLASH_MMC", ""},
    {"floppy", "ID_DRIVE_FLOPPY", ""},
    {"floppy_zip", "ID_DRIVE_FLOPPY_ZIP", ""},
    {"floppy_jaz", "ID_DRIVE_FLOPPY_JAZ", ""},
    {"optical_cd", "ID_CDROM", "ID_CDROM_MEDIA_CD"},
    {"optical_cd_r", "ID_CDROM_CD_R", "ID_CDROM_MEDIA_CD_R"},
    {"optical_cd_rw", "ID_CDROM_CD_RW", "ID_CDROM_MEDIA_CD_RW"},
    {"optical_dvd", "ID_CDROM_DVD", "ID_CDROM_MEDIA_DVD"},
    {"optical_dvd_r", "ID_CDROM_DVD_R", "ID_CDROM_MEDIA_DVD_R"},
    {"optical_dvd_rw", "ID_CDROM_DVD_RW", "ID_CDROM_MEDIA_DVD_RW"},
    {"optical_dvd_ram", "ID_CDROM_DVD_RAM", "ID_CDROM_MEDIA_DVD_RAM"},
    {"optical_dvd_plus_r", "ID_CDROM_DVD_PLUS_R", "ID_CDROM_MEDIA_DVD_PLUS_R"},
    {"optical_dvd_plus_rw", "ID_CDROM_DVD_PLUS_RW", "ID_CDROM_MEDIA_DVD_PLUS_RW"},
    {"optical_dvd_plus_r_dl", "ID_CDROM_DVD_PLUS_R_DL", "ID_CDROM_MEDIA_DVD_PLUS_R_DL"},
    {"optical_dvd_plus_rw_dl", "ID_CDROM_DVD_PLUS_RW_DL", "ID_CDROM_MEDIA_DVD_PLUS_RW_DL"},
    {"optical_bd", "ID_CDROM_BD", "ID_CDROM_MEDIA_BD"},
    {"optical_bd_r", "ID_CDROM_BD_R", "ID_CDROM_MEDIA_BD_R"},
    {"optical_bd_re", "ID_CDROM_BD_RE", "ID_CDROM_MEDIA_BD_RE"},
    {"optical_hddvd", "ID_CDROM_HDDVD", "ID_CDROM_MEDIA_HDDVD"},
    {"optical_hddvd_r", "ID_CDROM_HDDVD_R", "ID_CDROM_MEDIA_HDDVD_R"},
    {"optical_hddvd_rw", "ID_CDROM_HDDVD_RW", "ID_CDROM_MEDIA_HDDVD_RW"},
    {"optical_mo", "ID_CDROM_MO", "ID_CDROM_MEDIA_MO"},
    {"optical_mrw", "ID_CDROM_MRW", "ID_CDROM_MEDIA_MRW"},
    {"optical_mrw_w", "ID_CDROM_MRW_W", "ID_CDROM_MEDIA_MRW_W"},
};

bool isOptical(const BlockDevice& device)
{
    return device.flag("ID_CDROM");
}

bool hasMedium(const BlockDevice& device, const Sysfs& sysfs)
{
    return isOptical(device) ? device.flag("ID_CDROM_MEDIA") : sysfs.number(device.path(), "size") != 0;
}

QStringList mediaTaken(const BlockDevice& device)
{
    QStringList result;
    for (const Medium& medium : MEDIA) {
        if (device.flag(medium.taken)) {
            result += QString::fromLatin1(medium.name);
        }
    }
    return result;
}

/// The most exact name of the medium that is in; a drive for cards does not say which of those it takes.
QString mediumPresent(const BlockDevice& device, const Sysfs& sysfs)
{
    QString result;
    for (const Medium& medium : MEDIA) {
        const bool isIt = isOptical(device) ? device.flag(medium.present) : device.flag(medium.taken);
        if (isIt && hasMedium(device, sysfs)) {
            result = QString::fromLatin1(medium.name);
        }
    }
    return result;
}

/// Only these are put out by the drive itself; a stick is not.
bool isEjectable(const QStringList& media)
{
    return std::any_of(media.begin(), media.end(), [](const QString& medium) {
        return medium.startsWith(QLatin1String("optical")) || medium == QLatin1String("floppy_zip") ||
               medium == QLatin1String("floppy_jaz");
    });
}

QString interfaceOf(const BlockDevice& device)
{
    const QByteArray bus = device.value("ID_BUS");
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
        const QString text = device.decodedText(property).simplified();
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
        {QStringLiteral("DriveCanDetach"), device.value("ID_BUS") == "usb"},
        {QStringLiteral("DriveIsRotational"), sysfs.number(device.diskPath(), "queue/rotational") != 0},
        {QStringLiteral("DriveRotationRate"), static_cast<uint>(device.number("ID_ATA_ROTATION_RATE_RPM"))},
    };
}

QVariantMap mediumProperties(const BlockDevice& device, const Sysfs& sysfs)
{
    const bool isRemovable = sysfs.number(device.diskPath(), "removable") != 0;
    const bool isAnnounced = sysfs.value(device.diskPath(), "events").contains("media_change");
    const QStringList media = mediaTaken(device);
    return {
        {QStringLiteral("DeviceIsMediaChangeDetected"), !isRemovable || isAnnounced},
        {QStringLiteral("DeviceIsRemovable"), isRemovable},
        {QStringLiteral("DeviceIsOpticalDisc"), !device.isPartition() && device.flag("ID_CDROM_MEDIA")},
        {QStringLiteral("DriveMedia"), mediumPresent(device, sysfs)},
        {QStringLiteral("DriveMediaCompatibility"), media},
        {QStringLiteral("DriveIsMediaEjectable"), isEjectable(media)},
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
