#include <gmock/gmock.h>

#include <sys/sysmacros.h>

#include "interfaces/ObjectPath.h"
#include "kernel/RescueMedium.h"
#include "tests/provider/today/FakeSysfs.h"
#include "tests/provider/today/SampleDevices.h"

using namespace SampleDevices;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

/// A PC with an internal disk sda, a stick sdb, an optical drive, loop devices and mapped devices.
class RescueMediumTest : public testing::Test
{
protected:
    RescueMediumTest()
    {
        sysfs.addDisk("sda", "8:0");
        sysfs.addPartition("sda", "sda1", "8:1");
        sysfs.addDisk("sdb", "8:16");
        sysfs.addPartition("sdb", "sdb1", "8:17");
        sysfs.addPartition("sdb", "sdb3", "8:19");
        sysfs.addDisk("sr0", "11:0");
    }

    RescueMedium foundIn(const QByteArray& table) const
    {
        return RescueMedium::of(MountInfo::parse(table), BlockStack(Sysfs(sysfs.path())));
    }

    std::vector<std::string> devices(const QByteArray& table) const
    {
        std::vector<std::string> result;
        for (const dev_t number : foundIn(table).devices) {
            result.push_back(std::to_string(major(number)) + ":" + std::to_string(minor(number)));
        }
        return result;
    }

    std::vector<std::string> disks(const QByteArray& table) const
    {
        std::vector<std::string> result;
        for (const QByteArray& disk : foundIn(table).disks) {
            result.push_back(disk.toStdString());
        }
        return result;
    }

    FakeSysfs sysfs;
};

const QByteArray StickBelowOverlay =
    "30 0 0:30 / / rw - overlay overlay "
    "rw,lowerdir=/run/live/rootfs/system.squashfs,upperdir=/run/live/overlay/rw\n"
    "31 30 0:31 / /run rw - tmpfs tmpfs rw\n"
    "32 31 7:0 / /run/live/rootfs/system.squashfs ro - squashfs /dev/loop0 ro\n"
    "33 31 8:17 / /run/live/medium ro - iso9660 /dev/sdb1 ro\n"
    "34 31 0:34 / /run/live/overlay rw - tmpfs tmpfs rw\n"
    "35 30 8:19 / /media/DATA rw - vfat /dev/sdb3 rw\n";

} // namespace

TEST_F(RescueMediumTest, IsWhatStandsBehindTheRoot)
{
    const QByteArray installed = "1 0 8:1 / / rw - ext4 /dev/sda1 rw\n"
                                 "2 1 8:19 / /home rw - ext4 /dev/sdb3 rw\n";
    EXPECT_THAT(devices(installed), ElementsAre("8:1"));
    EXPECT_THAT(disks(installed), ElementsAre("sda"));
    EXPECT_THAT(devices("1 0 0:1 / / rw - tmpfs tmpfs rw\n"), IsEmpty());
    EXPECT_THAT(devices(""), IsEmpty());
}

TEST_F(RescueMediumTest, IsFoundBelowTheLayersOfAnOverlayAndItsLoopDevices)
{
    sysfs.addLoop("loop0", "7:0", "/run/live/medium/live/system.squashfs");
    EXPECT_THAT(devices(StickBelowOverlay), ElementsAre("7:0", "8:17"));
    EXPECT_THAT(disks(StickBelowOverlay), UnorderedElementsAre("loop0", "sdb"));
}

TEST_F(RescueMediumTest, IsFoundByTheLoopDevicesAlone)
{
    sysfs.addLoop("loop0", "7:0", "/elsewhere/live/system.squashfs");
    QByteArray table = StickBelowOverlay;
    table.replace("/run/live/medium ", "/elsewhere ");
    EXPECT_THAT(devices(table), ElementsAre("7:0", "8:17"));
}

TEST_F(RescueMediumTest, IsFoundByItsMountPointWhenTheLayersAreHidden)
{
    QByteArray table = "30 0 0:30 / / rw - overlay overlay rw,lowerdir=/hidden:/,upperdir=/gone\n"
                       "33 30 11:0 / /cdrom ro - iso9660 /dev/sr0 ro\n";
    EXPECT_THAT(devices(table), ElementsAre("11:0"));
    for (const char* place : {"/run/live/medium", "/usr/lib/live/mount/medium", "/run/initramfs/live",
                              "/run/archiso", "/run/archiso/bootmnt"}) {
        QByteArray moved = table;
        EXPECT_THAT(devices(moved.replace("/cdrom", place)), ElementsAre("11:0")) << place;
    }
    for (const char* place :
         {"/cdroms", "/media/cdrom", "/run/live", "/mnt", "/usr/lib/live/mount/persistence"}) {
        QByteArray moved = table;
        EXPECT_THAT(devices(moved.replace("/cdrom", place)), IsEmpty()) << place;
    }
}

TEST_F(RescueMediumTest, IsFoundBelowMappedDevicesAndPartitionsOfLoopDevices)
{
    sysfs.addLoop("loop1", "7:1", "/elsewhere/squashfs.img");
    sysfs.addPartition("loop1", "loop1p1", "259:5");
    sysfs.addMapped("dm-0", "253:0", {"loop1p1"});
    EXPECT_THAT(devices("1 0 253:0 / / rw - ext4 /dev/mapper/live-rw rw\n"
                        "2 1 8:17 / /elsewhere ro - vfat /dev/sdb1 ro\n"),
                ElementsAre("8:17", "253:0", "259:5"));
}

TEST_F(RescueMediumTest, IsFoundBehindFileSystemsWithNumbersOfTheirOwn)
{
    EXPECT_THAT(devices("1 0 0:40 /@ / rw - btrfs /dev/sdb3 rw\n"), ElementsAre("8:19"));
    EXPECT_THAT(devices("1 0 0:40 / / rw - nfs server:/sdb3 rw\n"), IsEmpty());
    EXPECT_THAT(devices("1 0 0:40 / / rw - tmpfs sdb3 rw\n"), IsEmpty());
}

TEST_F(RescueMediumTest, EndsWhereLoopDevicesGoRound)
{
    sysfs.addLoop("loop0", "7:0", "/a/file");
    sysfs.addLoop("loop1", "7:1", "/file");
    EXPECT_THAT(devices("1 0 7:0 / / rw - ext4 /dev/loop0 rw\n2 1 7:1 / /a rw - ext4 /dev/loop1 rw\n"),
                ElementsAre("7:0", "7:1"));
}

TEST_F(RescueMediumTest, IsNotOfferedNorWhatAMachineStartsFromBesideIt)
{
    const auto node = [](const char* name) { return QString::fromLatin1(name); };
    const auto kind = [](const char* scheme, const char* type) {
        return QVariantMap{{QStringLiteral("PartitionScheme"), QString::fromLatin1(scheme)},
                           {QStringLiteral("PartitionType"), QString::fromLatin1(type)}};
    };
    const auto numbered = [](Device device, dev_t number) {
        device.number = number;
        return device;
    };
    const QString vfat = node("vfat");
    const QString efi = node("C12A7328-F81F-11D2-BA4B-00A0C93EC93B");
    const Circumstances circumstances{{{makedev(8, 17), makedev(8, 1)}, {"sdb", "sda"}}, {}};
    const Picture picture = present(
        {
            numbered(internal(node("sda1"), vfat), makedev(8, 1)),
            internal(node("sda2"), vfat, kind("gpt", efi.toLatin1())),
            internal(node("sda3"), node("iso9660")),
            external(node("sdb"), node("iso9660"), QString()),
            numbered(external(node("sdb1"), vfat, QString()), makedev(8, 17)),
            external(node("sdb2"), vfat, QString(), kind("gpt", efi.toLatin1())),
            external(node("sdb3"), vfat, QString(), kind("mbr", "0xef")),
            external(node("sdb4"), vfat, QString(), kind("mbr", "0x0c")),
            external(node("sdb5"), node("iso9660"), QString()),
            external(node("sdc"), node("iso9660"), QString()),
            external(node("sdc1"), vfat, QString(), kind("mbr", "0xef")),
        },
        only("rescue-medium"), circumstances);
    EXPECT_THAT(nodes(picture), ElementsAre("sda2", "sda3", "sdb4", "sdc", "sdc1"));
}

TEST(MemoryDevicesTest, AreNotOffered)
{
    std::vector<Device> machine;
    for (const char* node :
         {"loop0", "loop12p3", "zram0", "ram15", "sda", "loopback", "program1", "dm-0", "nbd0"}) {
        machine.push_back(device(QString::fromLatin1(node)));
    }
    EXPECT_THAT(nodes(present(machine)), ElementsAre("sda", "loopback", "program1", "dm_2d0", "nbd0"));
}

TEST(MemoryDevicesTest, AreNotOfferedByAnotherName)
{
    const auto on = [](const char* name, const std::vector<const char*>& basis) {
        Device result = device(QString::fromLatin1(name));
        for (const char* part : basis) {
            result.basis += ObjectPath::ofDevice(part);
        }
        return result;
    };
    const std::vector<Device> machine{on("dm-3", {"dm-0"}),
                                      on("dm-0", {"loop0", "zram0"}),
                                      on("md0", {"loop0", "sda"}),
                                      on("dm-1", {"md0"}),
                                      on("md1p1", {"md1"}),
                                      on("md1", {"loop1"}),
                                      on("loop0", {}),
                                      on("zram0", {}),
                                      on("loop1", {}),
                                      on("sda", {})};
    EXPECT_THAT(nodes(present(machine)), ElementsAre("md0", "dm_2d1", "sda"));
    EXPECT_EQ(nodes(present(machine, Rules::allBut({QStringLiteral("memory-devices")}))).size(),
              machine.size());
}
