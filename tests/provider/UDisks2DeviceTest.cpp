#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include <QDBusMetaType>

#include "provider/DeviceView.h"
#include "provider/UDisks2Device.h"
#include "tests/provider/SampleDisks.h"
#include "tests/support/TemporaryDirectory.h"

using namespace SampleDisks;

namespace {

/// All kinds of disks, and a kernel that knows nothing but two of them.
class UDisks2DeviceTest : public testing::Test
{
protected:
    UDisks2DeviceTest()
    {
        sysfsDevice("8:0", "pci/ata1/block/sda", "4096");
        sysfsDevice("8:16", "pci/usb/block/renamed", "2048");
    }

    void sysfsDevice(const std::string& number, const std::string& path, const std::string& sectorSize)
    {
        namespace fs = std::filesystem;
        const fs::path device = fs::path(directory.path()) / "devices" / path;
        fs::create_directories(device / "queue");
        std::ofstream(device / "queue/hw_sector_size") << sectorSize << "\n";
        fs::create_directories(directory.path() + "/dev/block");
        fs::create_directory_symlink(device, directory.path() + "/dev/block/" + number);
    }

    std::optional<UDisks2Device> device(const std::string& name, bool showsTrueMajor = false) const
    {
        return translated(objects, blockPath(name), Sysfs(directory.path()), showsTrueMajor);
    }

    QVariant shown(const std::string& name, const char* property, bool showsTrueMajor = false) const
    {
        const std::optional<UDisks2Device> found = device(name, showsTrueMajor);
        return found ? DeviceView::property(found->device, QString::fromLatin1(property)).value_or(QVariant())
                     : QVariant();
    }

    std::string text(const std::string& name, const char* property) const
    {
        return shown(name, property).toString().toStdString();
    }

    std::string path(const std::string& name, const char* property) const
    {
        return shown(name, property).value<QDBusObjectPath>().path().toStdString();
    }

    TemporaryDirectory directory;
    UDisks2Objects objects = all();
};

} // namespace

TEST_F(UDisks2DeviceTest, ShowsEachKindOfDevice)
{
    const struct
    {
        const char* name;
        bool isDrive, isInternal, isEjectable, isOptical;
        const char* usage;
        const char* type;
        const char* scheme;
        const char* partitionType;
    } table[] = {
        {"sda", true, true, false, false, "", "", "", ""},
        {"sda1", false, true, false, false, "filesystem", "ntfs", "mbr", "0x07"},
        {"sda2", false, true, false, false, "", "", "mbr", "0x0f"},
        {"sda5", false, true, false, false, "filesystem", "ext4", "mbr", "0x83"},
        {"nvme0n1", true, true, false, false, "", "", "", ""},
        {"nvme0n1p1", false, true, false, false, "filesystem", "vfat", "gpt",
         "C12A7328-F81F-11D2-BA4B-00A0C93EC93B"},
        {"nvme0n1p2", false, true, false, false, "filesystem", "ntfs", "gpt",
         "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7"},
        {"mmcblk0p1", false, true, false, false, "filesystem", "ntfs", "gpt",
         "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7"},
        {"vda1", false, true, false, false, "filesystem", "ntfs", "mbr", "0x07"},
        {"sdb", true, false, false, false, "", "", "", ""},
        {"sdb1", false, false, false, false, "filesystem", "vfat", "mbr", "0x0c"},
        {"sdc", true, false, false, false, "filesystem", "vfat", "", ""},
        {"sdd1", false, false, false, false, "filesystem", "ntfs", "gpt",
         "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7"},
        {"sr0", true, false, true, true, "filesystem", "iso9660", "", ""},
        {"sde1", false, false, false, false, "crypto", "crypto_LUKS", "mbr", "0x83"},
        {"dm_2d0", true, false, false, false, "filesystem", "ext4", "", ""},
        {"sdf", true, false, false, false, "", "", "", ""},
        {"loop0", true, true, false, false, "", "", "", ""},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(shown(row.name, "DeviceIsDrive"), QVariant(row.isDrive));
        EXPECT_EQ(shown(row.name, "DeviceIsPartition"), QVariant(!row.isDrive));
        EXPECT_EQ(shown(row.name, "DeviceIsSystemInternal"), QVariant(row.isInternal));
        EXPECT_EQ(shown(row.name, "DriveIsMediaEjectable"), QVariant(row.isEjectable));
        EXPECT_EQ(shown(row.name, "DeviceIsOpticalDisc"), QVariant(row.isOptical));
        EXPECT_EQ(text(row.name, "IdUsage"), row.usage);
        EXPECT_EQ(text(row.name, "IdType"), row.type);
        EXPECT_EQ(text(row.name, "PartitionScheme"), row.scheme);
        EXPECT_EQ(text(row.name, "PartitionType"), row.partitionType);
    }
}

TEST_F(UDisks2DeviceTest, ShowsPartitionsOfInternalDisksAsScsiOnesUnlessToldNotTo)
{
    const struct
    {
        const char* name;
        qlonglong shownMajor, trueMajor, minor;
    } table[] = {
        {"sda1", 8, 8, 1},          {"nvme0n1", NVME, NVME, 0}, {"nvme0n1p2", 8, NVME, 2},
        {"mmcblk0", EMMC, EMMC, 0}, {"mmcblk0p1", 8, EMMC, 1},  {"vda1", 8, VIRTIO, 1},
        {"sdb1", 8, 8, 17},         {"sr0", 11, 11, 0},         {"dm_2d0", MAPPER, MAPPER, 0},
        {"loop0p1", NVME, NVME, 9},
    };
    for (const auto& row : table) {
        EXPECT_EQ(shown(row.name, "DeviceMajor"), QVariant(row.shownMajor)) << row.name;
        EXPECT_EQ(shown(row.name, "DeviceMajor", true), QVariant(row.trueMajor)) << row.name;
        EXPECT_EQ(shown(row.name, "DeviceMinor"), QVariant(row.minor)) << row.name;
    }
    EXPECT_TRUE(DeviceView::hasNumber(device("nvme0n1p2")->device, NVME, 2));
}

TEST_F(UDisks2DeviceTest, KeepsTheNumberOfAnExternalDiskThatIsNoScsiDisk)
{
    objects[blockPath("mmcblk0p1")][UDisks2::BLOCK][QStringLiteral("HintSystem")] = false;
    EXPECT_EQ(shown("mmcblk0p1", "DeviceMajor"), QVariant(qlonglong(EMMC)));
}

TEST_F(UDisks2DeviceTest, KeepsTheNumberOfAScsiDiskBeyondTheSixteenth)
{
    objects[blockPath("sda1")][UDisks2::BLOCK][QStringLiteral("DeviceNumber")] = qulonglong(65 << 8 | 1);
    EXPECT_EQ(shown("sda1", "DeviceMajor"), QVariant(qlonglong(65)));
}

TEST_F(UDisks2DeviceTest, ShowsAnOpticalDiscOnTheWholeDeviceOnly)
{
    objects[blockPath("sda1")][UDisks2::BLOCK].insert(onDrive("optical"));
    EXPECT_EQ(shown("sda1", "DeviceIsOpticalDisc"), QVariant(false));
    EXPECT_EQ(shown("sda1", "DriveIsMediaEjectable"), QVariant(true));
}

TEST_F(UDisks2DeviceTest, SortsTheLinksToTheNode)
{
    EXPECT_EQ(shown("sda1", "DeviceFileById").toStringList(),
              QStringList({QStringLiteral("/dev/disk/by-id/ata-Acme-part1"),
                           QStringLiteral("/dev/disk/by-uuid/0123456789ABCDEF")}));
    EXPECT_EQ(shown("sda1", "DeviceFileByPath").toStringList(),
              QStringList({QStringLiteral("/dev/disk/by-path/pci-0000:00:17.0-ata-1-part1")}));
    EXPECT_EQ(shown("sdc", "DeviceFileById").toStringList(), QStringList());
}

TEST_F(UDisks2DeviceTest, CarriesLabelsAndUuidsRaw)
{
    EXPECT_EQ(text("sda1", "IdLabel"), "A/B\n");
    EXPECT_EQ(text("sda1", "IdUuid"), "0123456789ABCDEF");
    EXPECT_EQ(text("sdb1", "IdLabel"), "MY STICK");
    EXPECT_EQ(text("sdb1", "IdUuid"), "AB12-CD34");
}

TEST_F(UDisks2DeviceTest, NamesTheFlagsOfPartitions)
{
    const struct
    {
        const char* name;
        qulonglong flags;
        QStringList shownFlags;
    } table[] = {
        {"sda1", 0x80, {QStringLiteral("boot")}},       {"sda1", 0, {}},         {"sda1", 1, {}},
        {"nvme0n1p1", 1, {QStringLiteral("required")}}, {"nvme0n1p1", 0x80, {}},
    };
    for (const auto& row : table) {
        objects[blockPath(row.name)][UDisks2::PARTITION][QStringLiteral("Flags")] = row.flags;
        EXPECT_EQ(shown(row.name, "PartitionFlags").toStringList(), row.shownFlags) << row.name << row.flags;
    }
}

TEST_F(UDisks2DeviceTest, HidesWhatAnExtendedPartitionSeemsToHoldWhateverItsType)
{
    for (const char* type : {"0x05", "0x0f", "0x85"}) {
        objects[blockPath("sda2")][UDisks2::PARTITION][QStringLiteral("Type")] = QString::fromLatin1(type);
        EXPECT_EQ(text("sda2", "IdUsage"), "") << type;
    }
    objects[blockPath("sda2")][UDisks2::PARTITION][QStringLiteral("Type")] = QStringLiteral("0x83");
    EXPECT_EQ(text("sda2", "IdUsage"), "other");
}

TEST_F(UDisks2DeviceTest, AsksTheKernelForNameAndSectorSize)
{
    EXPECT_EQ(device("sdb")->device.objectPath.toStdString(), "/org/freedesktop/UDisks/devices/renamed");
    EXPECT_EQ(path("sdb1", "PartitionSlave"), "/org/freedesktop/UDisks/devices/renamed");
    EXPECT_EQ(shown("sda", "DeviceBlockSize"), QVariant(qulonglong(4096)));
    EXPECT_EQ(shown("sda1", "DeviceBlockSize"), QVariant(qulonglong(512)));
    EXPECT_EQ(shown("sdc", "DeviceBlockSize"), QVariant(qulonglong(512)));
    EXPECT_EQ(text("sda", "NativePath"), directory.path() + "/devices/pci/ata1/block/sda");
    EXPECT_EQ(device("dm_2d0")->device.objectPath.toStdString(), "/org/freedesktop/UDisks/devices/dm_2d0");
}

TEST_F(UDisks2DeviceTest, HasNeitherSizeNorSectorsWithoutAMedium)
{
    EXPECT_EQ(shown("sdf", "DeviceSize"), QVariant(qulonglong(0)));
    EXPECT_EQ(shown("sdf", "DeviceBlockSize"), QVariant(qulonglong(0)));
    EXPECT_EQ(shown("sdf", "DeviceIsMediaAvailable"), QVariant(false));
    EXPECT_EQ(shown("sdf", "DeviceIsRemovable"), QVariant(true));
}

TEST_F(UDisks2DeviceTest, ShowsWhatElseUDisks2Knows)
{
    EXPECT_EQ(text("sda", "PartitionTableScheme"), "mbr");
    EXPECT_EQ(shown("sda", "DeviceIsPartitionTable"), QVariant(true));
    EXPECT_EQ(shown("sda1", "PartitionNumber"), QVariant(1));
    EXPECT_EQ(shown("sda1", "PartitionOffset"), QVariant(qulonglong(1048576)));
    EXPECT_EQ(text("nvme0n1p2", "PartitionLabel"), "Basic");
    EXPECT_EQ(path("sda1", "PartitionSlave"), "/org/freedesktop/UDisks/devices/sda");
    EXPECT_EQ(path("sda", "PartitionSlave"), "/");
    EXPECT_EQ(text("sda", "DriveModel"), "Disk 9");
    EXPECT_EQ(shown("sda", "DeviceDetectionTime"), QVariant(qulonglong(1700000000)));
    EXPECT_EQ(shown("sda", "DriveRotationRate"), QVariant(0U));
    EXPECT_EQ(text("loop0", "LinuxLoopFilename"), "/live/image");
    EXPECT_EQ(shown("sde1", "DeviceIsLuks"), QVariant(true));
    EXPECT_EQ(path("sde1", "LuksHolder"), "/org/freedesktop/UDisks/devices/dm_2d0");
    EXPECT_EQ(shown("dm_2d0", "DeviceIsLuksCleartext"), QVariant(true));
    EXPECT_EQ(path("dm_2d0", "LuksCleartextSlave"), "/org/freedesktop/UDisks/devices/sde1");
}

TEST_F(UDisks2DeviceTest, CountsThePartitionsOfATable)
{
    objects[blockPath("sda")][UDisks2::PARTITION_TABLE][QStringLiteral("Partitions")] =
        QVariant::fromValue(QList<QDBusObjectPath>{blockPath("sda1"), blockPath("sda2"), blockPath("sda5")});
    EXPECT_EQ(shown("sda", "PartitionTableCount"), QVariant(3));
    EXPECT_EQ(shown("sda1", "PartitionTableCount"), QVariant(0));
}

TEST_F(UDisks2DeviceTest, KnowsArraysAndTheirMembers)
{
    const QVariant array =
        QVariant::fromValue(QDBusObjectPath(QStringLiteral("/org/freedesktop/UDisks2/mdraid/a")));
    const QVariant none = QVariant::fromValue(QDBusObjectPath(QStringLiteral("/")));
    const struct
    {
        QVariantMap block;
        bool isArray, isMember;
    } table[] = {
        {{{QStringLiteral("MDRaid"), array}, {QStringLiteral("MDRaidMember"), none}}, true, false},
        {{{QStringLiteral("MDRaid"), none}, {QStringLiteral("MDRaidMember"), array}}, false, true},
        {{{QStringLiteral("MDRaid"), none}, {QStringLiteral("MDRaidMember"), none}}, false, false},
        {{}, false, false},
    };
    for (const auto& row : table) {
        objects[blockPath("sdc")] = block("/dev/sdc", 8, 32, 4096, row.block);
        EXPECT_EQ(shown("sdc", "DeviceIsLinuxMd"), QVariant(row.isArray));
        EXPECT_EQ(shown("sdc", "DeviceIsLinuxMdComponent"), QVariant(row.isMember));
    }
}

TEST_F(UDisks2DeviceTest, GivesEveryPropertyInTheTypeOfTheInterface)
{
    for (const QDBusObjectPath& object : objects.keys()) {
        const auto found = translated(objects, object, Sysfs(directory.path()), false);
        if (!found) {
            continue;
        }
        for (auto given = found->device.properties.begin(); given != found->device.properties.end();
             ++given) {
            const QVariant empty = DeviceView::property(Device(), given.key()).value_or(QVariant());
            EXPECT_EQ(given->userType(), empty.userType()) << given.key().toStdString();
        }
    }
}

TEST_F(UDisks2DeviceTest, DoesNotShowRamDisksUnusedLoopDevicesAndWhatIsNoBlockDevice)
{
    EXPECT_EQ(device("ram0"), std::nullopt);
    EXPECT_EQ(device("loop1"), std::nullopt);
    EXPECT_EQ(device("nothing"), std::nullopt);
    EXPECT_EQ(translated(objects, drivePath("sata"), Sysfs(directory.path()), false), std::nullopt);
}

TEST_F(UDisks2DeviceTest, KnowsWhetherADeviceIsIdentified)
{
    const auto isIdentified = [this](const char* name) { return device(name)->isIdentified; };
    for (const char* name : {"sda", "sda1", "sda2", "sdc", "sdf", "sr0", "sde1"}) {
        EXPECT_TRUE(isIdentified(name)) << name;
    }
    objects[blockPath("sdc")][UDisks2::BLOCK].remove(QStringLiteral("IdType"));
    EXPECT_TRUE(isIdentified("sdc"));
    objects[blockPath("sdc")][UDisks2::BLOCK].remove(QStringLiteral("IdUsage"));
    EXPECT_FALSE(isIdentified("sdc"));
    objects[blockPath("sda")].remove(UDisks2::PARTITION_TABLE);
    EXPECT_FALSE(isIdentified("sda"));
    EXPECT_FALSE(isIdentified("sda1"));
}
