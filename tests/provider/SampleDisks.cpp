#include "tests/provider/SampleDisks.h"

#include <sys/sysmacros.h>

#include <QList>

namespace SampleDisks {
namespace {

constexpr qulonglong SIZE = 1000000512;

QString qt(const std::string& text)
{
    return QString::fromStdString(text);
}

QVariantMap drive(const std::vector<std::string>& media, bool isEjectable)
{
    QStringList compatibility;
    for (const std::string& medium : media) {
        compatibility += qt(medium);
    }
    return {
        {QStringLiteral("Vendor"), QStringLiteral("Acme")},
        {QStringLiteral("Model"), QStringLiteral("Disk 9")},
        {QStringLiteral("Serial"), QStringLiteral("S1")},
        {QStringLiteral("MediaCompatibility"), compatibility},
        {QStringLiteral("MediaAvailable"), true},
        {QStringLiteral("Ejectable"), isEjectable},
        {QStringLiteral("RotationRate"), -1},
        {QStringLiteral("TimeDetected"), qulonglong(1700000000123456)},
    };
}

UDisks2Interfaces inTable(UDisks2Interfaces block, const QVariantMap& partition)
{
    block.insert(UDisks2::PARTITION, partition);
    return block;
}

UDisks2Interfaces withTable(UDisks2Interfaces block, const std::string& type)
{
    block.insert(UDisks2::PARTITION_TABLE, table(type));
    return block;
}

UDisks2Objects driveObject(const std::string& name, const QVariantMap& properties)
{
    return {{drivePath(name), {{UDisks2::DRIVE, properties}}}};
}

} // namespace

QDBusObjectPath blockPath(const std::string& name)
{
    return QDBusObjectPath(qt("/org/freedesktop/UDisks2/block_devices/" + name));
}

QDBusObjectPath drivePath(const std::string& name)
{
    return QDBusObjectPath(qt("/org/freedesktop/UDisks2/drives/" + name));
}

QByteArray fileName(const std::string& name)
{
    return QByteArray(name.c_str(), static_cast<int>(name.size()) + 1);
}

UDisks2Interfaces block(const std::string& node, unsigned majorNumber, unsigned minorNumber, qulonglong size,
                        const QVariantMap& more)
{
    const QVariantMap properties{
        {QStringLiteral("Device"), fileName(node)},
        {QStringLiteral("PreferredDevice"), fileName(node)},
        {QStringLiteral("DeviceNumber"), qulonglong(makedev(majorNumber, minorNumber))},
        {QStringLiteral("Size"), size},
        {QStringLiteral("Drive"), QVariant::fromValue(QDBusObjectPath(QStringLiteral("/")))},
        {QStringLiteral("HintSystem"), false},
    };
    return {{UDisks2::BLOCK, properties + more}};
}

QVariantMap links(const std::vector<std::string>& names)
{
    QList<QByteArray> files;
    for (const std::string& name : names) {
        files += fileName("/dev/disk/" + name);
    }
    return {{QStringLiteral("Symlinks"), QVariant::fromValue(files)}};
}

QVariantMap holds(const std::string& usage, const std::string& type, const std::string& label,
                  const std::string& uuid)
{
    return {
        {QStringLiteral("IdUsage"), qt(usage)},
        {QStringLiteral("IdType"), qt(type)},
        {QStringLiteral("IdLabel"), qt(label)},
        {QStringLiteral("IdUUID"), qt(uuid)},
    };
}

UDisks2Interfaces unidentified(UDisks2Interfaces block)
{
    for (const char* name : {"IdUsage", "IdType", "IdLabel"}) {
        block[UDisks2::BLOCK].remove(QString::fromLatin1(name));
    }
    return block;
}

QVariantMap onDrive(const std::string& name)
{
    return {{QStringLiteral("Drive"), QVariant::fromValue(drivePath(name))}};
}

QVariantMap internal()
{
    return {{QStringLiteral("HintSystem"), true}};
}

QVariantMap partition(const std::string& disk, uint number, const std::string& type, qulonglong flags)
{
    return {
        {QStringLiteral("Number"), number},
        {QStringLiteral("Type"), qt(type)},
        {QStringLiteral("Flags"), flags},
        {QStringLiteral("Offset"), qulonglong(1048576)},
        {QStringLiteral("Size"), SIZE},
        {QStringLiteral("Name"), QStringLiteral("Basic")},
        {QStringLiteral("UUID"), QStringLiteral("0a-01")},
        {QStringLiteral("Table"), QVariant::fromValue(blockPath(disk))},
    };
}

QVariantMap table(const std::string& type)
{
    return {{QStringLiteral("Type"), qt(type)}};
}

UDisks2Objects operator+(UDisks2Objects left, const UDisks2Objects& right)
{
    left.insert(right);
    return left;
}

QVariantMap operator+(QVariantMap left, const QVariantMap& right)
{
    left.insert(right);
    return left;
}

UDisks2Objects sataDisk()
{
    const QVariantMap common = internal() + onDrive("sata");
    return driveObject("sata", drive({}, false)) +
           UDisks2Objects{
               {blockPath("sda"),
                withTable(block("/dev/sda", 8, 0, SIZE, common + links({"by-path/pci-0000:00:17.0-ata-1"})),
                          "dos")},
               {blockPath("sda1"),
                inTable(block("/dev/sda1", 8, 1, SIZE,
                              common + holds("filesystem", "ntfs", "A/B\n", "0123456789ABCDEF") +
                                  links({"by-uuid/0123456789ABCDEF", "by-path/pci-0000:00:17.0-ata-1-part1",
                                         "by-label/x", "by-id/ata-Acme-part1"})),
                        partition("sda", 1, "0x07", 0x80))},
               {blockPath("sda2"), inTable(block("/dev/sda2", 8, 2, 1024,
                                                 common + holds("other", "dos") +
                                                     links({"by-path/pci-0000:00:17.0-ata-1-part2"})),
                                           partition("sda", 2, "0x0f"))},
               {blockPath("sda5"), inTable(block("/dev/sda5", 8, 5, SIZE,
                                                 common + holds("filesystem", "ext4", "DATA", "0123-45") +
                                                     links({"by-path/pci-0000:00:17.0-ata-1-part5"})),
                                           partition("sda", 5, "0x83"))},
           };
}

UDisks2Objects nvmeDisk()
{
    const QVariantMap common = internal() + onDrive("nvme");
    const std::string windows = "ebd0a0a2-b9e5-4433-87c0-68b6b72699c7";
    return driveObject("nvme", drive({}, false)) +
           UDisks2Objects{
               {blockPath("nvme0n1"), withTable(block("/dev/nvme0n1", NVME, 0, SIZE,
                                                      common + links({"by-path/pci-0000:01:00.0-nvme-1"})),
                                                "gpt")},
               {blockPath("nvme0n1p1"),
                inTable(block("/dev/nvme0n1p1", NVME, 1, SIZE,
                              common + holds("filesystem", "vfat", "ESP", "12AB-34CD") +
                                  links({"by-path/pci-0000:01:00.0-nvme-1-part1"})),
                        partition("nvme0n1", 1, "c12a7328-f81f-11d2-ba4b-00a0c93ec93b", 1))},
               {blockPath("nvme0n1p2"),
                inTable(block("/dev/nvme0n1p2", NVME, 2, SIZE,
                              common + holds("filesystem", "ntfs", "Windows", "00FF00FF00FF00FF") +
                                  links({"by-path/pci-0000:01:00.0-nvme-1-part2"})),
                        partition("nvme0n1", 2, windows))},
           };
}

UDisks2Objects emmcDisk()
{
    const QVariantMap common = internal() + onDrive("emmc");
    return driveObject("emmc", drive({"flash_mmc"}, false)) +
           UDisks2Objects{
               {blockPath("mmcblk0"), withTable(block("/dev/mmcblk0", EMMC, 0, SIZE, common), "gpt")},
               {blockPath("mmcblk0p1"),
                inTable(block("/dev/mmcblk0p1", EMMC, 1, SIZE, common + holds("filesystem", "ntfs")),
                        partition("mmcblk0", 1, "ebd0a0a2-b9e5-4433-87c0-68b6b72699c7"))},
           };
}

UDisks2Objects virtioDisk()
{
    const QVariantMap common = internal() + onDrive("virtio");
    return driveObject("virtio", drive({}, false)) +
           UDisks2Objects{
               {blockPath("vda"), withTable(block("/dev/vda", VIRTIO, 0, SIZE, common), "dos")},
               {blockPath("vda1"),
                inTable(block("/dev/vda1", VIRTIO, 1, SIZE, common + holds("filesystem", "ntfs")),
                        partition("vda", 1, "0x07"))},
           };
}

UDisks2Objects stick()
{
    return driveObject("stick", drive({"thumb"}, true)) +
           UDisks2Objects{
               {blockPath("sdb"),
                withTable(
                    block("/dev/sdb", 8, 16, SIZE,
                          onDrive("stick") + links({"by-path/pci-0000:00:14.0-usb-0:2:1.0-scsi-0:0:0:0"})),
                    "dos")},
               {blockPath("sdb1"),
                inTable(block("/dev/sdb1", 8, 17, SIZE,
                              onDrive("stick") + holds("filesystem", "vfat", "MY STICK", "AB12-CD34") +
                                  links({"by-path/pci-0000:00:14.0-usb-0:2:1.0-scsi-0:0:0:0-part1"})),
                        partition("sdb", 1, "0x0c"))},
           };
}

UDisks2Objects stickWithoutTable()
{
    return driveObject("plain", drive({"thumb"}, true)) +
           UDisks2Objects{
               {blockPath("sdc"), block("/dev/sdc", 8, 32, SIZE,
                                        onDrive("plain") + holds("filesystem", "vfat", "PLAIN", "1-2"))}};
}

UDisks2Objects usbDisk()
{
    return driveObject("usb", drive({}, true)) +
           UDisks2Objects{
               {blockPath("sdd"), withTable(block("/dev/sdd", 8, 48, SIZE, onDrive("usb")), "gpt")},
               {blockPath("sdd1"),
                inTable(block("/dev/sdd1", 8, 49, SIZE, onDrive("usb") + holds("filesystem", "ntfs")),
                        partition("sdd", 1, "ebd0a0a2-b9e5-4433-87c0-68b6b72699c7"))},
           };
}

UDisks2Objects opticalDrive()
{
    const QVariantMap properties = drive({"optical_cd", "optical_dvd"}, true) +
                                   QVariantMap{{QStringLiteral("Optical"), true},
                                               {QStringLiteral("Media"), QStringLiteral("optical_dvd")}};
    return driveObject("optical", properties) +
           UDisks2Objects{
               {blockPath("sr0"),
                block("/dev/sr0", 11, 0, SIZE, onDrive("optical") + holds("filesystem", "iso9660", "DISC"))}};
}

UDisks2Objects luks()
{
    UDisks2Interfaces locked =
        inTable(block("/dev/sde1", 8, 65, SIZE, holds("crypto", "crypto_LUKS", "", "u-1")),
                partition("sde", 1, "0x83"));
    locked.insert(UDisks2::ENCRYPTED,
                  {{QStringLiteral("CleartextDevice"), QVariant::fromValue(blockPath("dm_2d0"))}});
    return {
        {blockPath("sde"), withTable(block("/dev/sde", 8, 64, SIZE), "dos")},
        {blockPath("sde1"), locked},
        {blockPath("dm_2d0"),
         block("/dev/dm-0", MAPPER, 0, SIZE,
               holds("filesystem", "ext4") + QVariantMap{{QStringLiteral("CryptoBackingDevice"),
                                                          QVariant::fromValue(blockPath("sde1"))}})},
    };
}

UDisks2Objects emptyCardReader()
{
    const QVariantMap properties =
        drive({"flash_sd"}, true) +
        QVariantMap{{QStringLiteral("MediaAvailable"), false}, {QStringLiteral("MediaRemovable"), true}};
    return driveObject("reader", properties) +
           UDisks2Objects{{blockPath("sdf"), block("/dev/sdf", 8, 80, 0, onDrive("reader"))}};
}

UDisks2Objects loopDevices()
{
    UDisks2Interfaces used = withTable(block("/dev/loop0", LOOP, 0, SIZE, internal()), "dos");
    used.insert(UDisks2::LOOP, {{QStringLiteral("BackingFile"), fileName("/live/image")}});
    UDisks2Interfaces unused = block("/dev/loop1", LOOP, 1, 0, internal());
    unused.insert(UDisks2::LOOP, {{QStringLiteral("BackingFile"), fileName("")}});
    return {
        {blockPath("loop0"), used},
        {blockPath("loop0p1"),
         inTable(block("/dev/loop0p1", NVME, 9, SIZE, internal() + holds("filesystem", "ntfs")),
                 partition("loop0", 1, "0x07"))},
        {blockPath("loop1"), unused},
        {blockPath("ram0"), block("/dev/ram0", 1, 0, SIZE)},
    };
}

UDisks2Objects all()
{
    return sataDisk() + nvmeDisk() + emmcDisk() + virtioDisk() + stick() + stickWithoutTable() + usbDisk() +
           opticalDrive() + luks() + emptyCardReader() + loopDevices();
}

} // namespace SampleDisks
