#include <csignal>
#include <filesystem>

#include <sys/mount.h>

#include "tests/support/Files.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// The log's messages at debug level, without the dump of the devices.
std::vector<std::string> story()
{
    std::vector<std::string> result;
    for (const std::string& message : ServiceLog::messages(Vorna::Debug)) {
        const bool isText = message.front() == '"';
        if (isText && message.compare(0, 9, "\"Running:") != 0) {
            result.push_back(message.substr(1, message.size() - 2));
        }
    }
    return result;
}

void writeDrivesMap(const std::string& content)
{
    fs::create_directories("/mounts/win/Program Files/Vorna");
    Files::write("/mounts/win/Program Files/Vorna/drives.ini", content);
}

} // namespace

class ArrangementTest : public MachineTest
{
};

TEST_F(ArrangementTest, WindowsMachineGetsItsLettersAndLosesThemAtTheEnd)
{
    machine.addInternal("sda1", Images::ntfs("reserved", "System Reserved", {"Boot/"}));
    machine.addInternal("sda2", Images::ntfs("os", "OS", {"Windows/", "Windows/win.ini"}));
    machine.addInternal("sda3", Images::ext4("linux", "linux", {"etc/"}));
    start();

    EXPECT_EQ(KernelMounts::sourceAt("/media/system-reserved"), "/dev/sda1");
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda2");
    EXPECT_EQ(KernelMounts::sourceAt("/media/D:"), "/dev/sda3");
    EXPECT_EQ(Files::content("/media/C:/Windows/win.ini"), "Windows/win.ini");
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/C:", "/media/D:", "/media/system-reserved"));
    EXPECT_THAT(Files::namesIn("/mnt"), IsEmpty());

    stop();
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
    EXPECT_THAT(story(),
                ElementsAre("Device to add: /org/freedesktop/UDisks/devices/sda1",
                            "ntfs-3g /dev/sda1 /mnt/sda1", "--move  ->  system-reserved",
                            "ntfs-3g /dev/sda1 /media/system-reserved ",
                            "Device to add: /org/freedesktop/UDisks/devices/sda2",
                            "ntfs-3g /dev/sda2 /mnt/sda2", "--move  ->  C:", "ntfs-3g /dev/sda2 /media/C: ",
                            "Device to add: /org/freedesktop/UDisks/devices/sda3",
                            "mount -text4 /dev/sda3 /mnt/sda3 ", "--move  ->  D:", "Signal caught: 15",
                            testing::StartsWith("/media/"), testing::StartsWith("/media/"),
                            testing::StartsWith("/media/")));
}

TEST_F(ArrangementTest, TwoWindowsInstallationsGetCAndD)
{
    machine.addInternal("sda1", Images::ntfs("first", "Windows 7", {"Windows/"}));
    machine.addInternal("sda2", Images::ntfs("second", "Windows 10", {"Windows/"}));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda1");
    EXPECT_EQ(KernelMounts::sourceAt("/media/D:"), "/dev/sda2");
    stop();
}

TEST_F(ArrangementTest, LabelWithSystemInAnyCaseIsABootPartitionUnlessItHoldsWindows)
{
    machine.addInternal("sda1", Images::ntfs("boot", "efi sYsTeM", {"Boot/"}));
    machine.addInternal("sda2", Images::ntfs("os", "System", {"Windows/"}));
    machine.addInternal("sda3", Images::ext4("lower", "files", {"windows/"}));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/system-reserved"), "/dev/sda1");
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda2");
    EXPECT_EQ(KernelMounts::sourceAt("/media/D:"), "/dev/sda3");
    stop();
}

TEST_F(ArrangementTest, WindowsIsFoundByItsExactName)
{
    machine.addInternal("sda1", Images::ext4("lower", "System 1", {"windows/"}));
    machine.addInternal("sdb1", Images::ext4("file", "System 2", {"Windows"}));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/system-reserved"), "/dev/sda1");
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sdb1") << "a file of that name counts as well";
    stop();
}

TEST_F(ArrangementTest, SecondBootPartitionIsStackedAndTheLowerLayerStaysAtTheEnd)
{
    machine.addInternal("sda1", Images::ext4("first", "System 1"));
    machine.addInternal("sda2", Images::ext4("second", "System 2"));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/system-reserved"), "/dev/sda2");
    stop();
    EXPECT_EQ(KernelMounts::sourceAt("/media/system-reserved"), "/dev/sda1");
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/system-reserved"));
}

TEST_F(ArrangementTest, LetterZIsHandedOutTwiceWhenAllAreTaken)
{
    for (char letter = 'C'; letter < 'Z'; ++letter) {
        fs::create_directories(std::string("/media/") + letter + ":");
    }
    machine.addInternal("sda1", Images::ext4("first", "one"));
    machine.addInternal("sda2", Images::ext4("second", "two"));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/Z:"), "/dev/sda2");
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/Z:", "/media/Z:"));
    stop();
}

TEST_F(ArrangementTest, DrivesMapNamesTheLettersAndMovesTheRunningLetterOn)
{
    const std::string volume = Images::ntfs("map", "WIN", {"Program Files/", "Program Files/Vorna/"});
    fs::create_directories("/mounts/win");
    ASSERT_EQ(runProgram({"ntfs-3g", volume, "/mounts/win"}).status, 0);
    fs::create_directories("/mounts/win/Program Files/Vorna/maps");
    Files::write(
        "/mounts/win/Program Files/Vorna/maps/drives.ini",
        "[Disk1]\r\nSerial=WD-1\r\nPartition1=[1234ABCD]C:\\\r\nPartition2=\"[C5D6E7F8]D:\\;X:\\\"\r\n");
    machine.addInternal("sda1", Images::ntfs("data", "Data", {}, "01D2A3B4C5D6E7F8"));
    machine.addInternal("sda2", Images::ntfs("os", "OS", {"Windows/"}, "0000000F1234ABCD"));
    machine.addInternal("sda3", Images::ext4("linux", "linux"));
    start();

    EXPECT_EQ(KernelMounts::sourceAt("/media/D:"), "/dev/sda1");
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda2");
    EXPECT_EQ(KernelMounts::sourceAt("/media/E:"), "/dev/sda3");
    EXPECT_EQ(ServiceLog::count(
                  ServiceLog::quoted("Drives file found: /mounts/win/Program Files/Vorna/maps/drives.ini")),
              1);
    EXPECT_EQ(ServiceLog::count(
                  ServiceLog::quoted("Partition [2]: volume id(3319195640) serial(WD-1) letters(D:/X:)")),
              2)
        << "the map is read anew for each partition that is looked up";
    EXPECT_EQ(Files::content("/tmp/drives.ini"),
              "[Disk1]\r\nSerial=WD-1\r\nPartition1=[1234ABCD]C:\r\nPartition2=\"[C5D6E7F8]D:;X:\"\r\n");
    stop();
}

TEST_F(ArrangementTest, DrivesMapThatBeginsElsewhereDoesNotMoveTheRunningLetter)
{
    writeDrivesMap("[Disk1]\nPartition1=[0000000A]D:\nPartition2=[0000000B]C:\n");
    machine.addInternal("sda1", Images::ntfs("listed", "listed", {}, "010101010000000A"));
    machine.addInternal("sda2", Images::ext4("unlisted", "unlisted"));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/D:"), "/dev/sda1");
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda2");
    stop();
}

TEST_F(ArrangementTest, LetterOfTheMapIsUsedAlthoughItsDirectoryExists)
{
    writeDrivesMap("[Disk1]\nPartition1=[0000000A]K:\n");
    fs::create_directories("/media/K:");
    ASSERT_EQ(mount("lower", "/media/K:", "tmpfs", 0, ""), 0);
    machine.addInternal("sda1", Images::ntfs("listed", "listed", {}, "010101010000000A"));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/K:"), "/dev/sda1");
    stop();
    EXPECT_EQ(KernelMounts::sourceAt("/media/K:"), "lower") << "each directory is unmounted once";
}

TEST_F(ArrangementTest, ShortSerialIsNotLookedUp)
{
    writeDrivesMap("[Disk1]\nPartition1=[00000000]K:\n");
    machine.addInternal("sda1", Images::ntfs("short", "short"), {"IdUuid = 12345678"});
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda1");
    stop();
}

TEST_F(ArrangementTest, FailedMoveIsSilentAndThePartitionStays)
{
    // A mount cannot be moved out of a place that propagates its mounts.
    ASSERT_EQ(mount("none", "/", nullptr, MS_REC | MS_SHARED, nullptr), 0);
    machine.addInternal("sda1", Images::ext4("first", "one"));
    machine.addInternal("sda2", Images::ntfs("second", "two"));
    start();
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/mnt/sda1", "/mnt/sda2"));
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
    stop();
    EXPECT_THAT(Files::namesIn("/mnt"), IsEmpty());
}

TEST_F(ArrangementTest, PrivateTemporaryRootIsEnoughUnderSharedMounts)
{
    ASSERT_EQ(mount("none", "/", nullptr, MS_REC | MS_SHARED, nullptr), 0);
    ASSERT_EQ(mount("/mnt", "/mnt", nullptr, MS_BIND, nullptr), 0);
    ASSERT_EQ(mount("none", "/mnt", nullptr, MS_PRIVATE, nullptr), 0);
    machine.addInternal("sda1", Images::ntfs("os", "OS", {"Windows/"}));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda1");
    stop();
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/mnt"));
}

TEST_F(ArrangementTest, StickThatIsThereAtTheStartKeepsItsLabel)
{
    machine.addExternal("sdb1", Images::ext4("stick", "STICK"));
    machine.addInternal("sda1", Images::ext4("disk", "disk"));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/STICK"), "/dev/sdb1");
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda1")
        << "the letter that the stick did not get is free again";
    stop();
}

TEST_F(ArrangementTest, OnlyPartitionsOfScsiDisksAreArranged)
{
    const std::string image = Images::ext4("any", "any");
    machine.addInternal("sda", image);
    machine.addInternal("nvme0n1p1", image, {"DeviceMajor = 259"});
    machine.addInternal("sdb1", Images::swap("swap", "swap"));
    machine.addInternal("sdc1", Images::blank("blank"));
    start();
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
    EXPECT_THAT(Files::namesIn("/mnt"), IsEmpty());
    EXPECT_EQ(ServiceLog::count("  > New deviceFile:     \"/dev/nvme0n1p1\""), 1) << "dumped all the same";
    stop();
}

TEST_F(ArrangementTest, EachDeviceIsDumpedInTwentyLines)
{
    machine.addInternal("sda1", Images::ext4("disk", "disk", {}, "0b0b0b0b-1111-2222-3333-444455556666"),
                        {"DeviceFileById =", "DeviceFileByPath = /dev/disk/by-path/one,/dev/disk/by-path/two",
                         "PartitionFlags = boot"});
    start();
    stop();
    std::vector<std::string> dump = ServiceLog::messages(Vorna::Debug);
    dump.erase(dump.begin(), std::find_if(dump.begin(), dump.end(), [](const std::string& message) {
                   return message.compare(0, 3, "  >") == 0;
               }));
    dump.resize(20);
    EXPECT_THAT(dump,
                ElementsAre("  > New deviceFile:     \"/dev/sda1\"", "deviceMajor:            8",
                            "deviceMinor:            1", "deviceFileById:         ()",
                            "deviceFileByPath:       (\"/dev/disk/by-path/one\", \"/dev/disk/by-path/two\")",
                            "deviceSize:             6291456", "deviceBlockSize:        512",
                            "deviceIsDrive:          false", "deviceIsMounted:        false",
                            "deviceIsPartition:      true", "deviceIsSystemInternal: true",
                            "idLabel:                \"disk\"", "idType:                 \"ext4\"",
                            "idUsage:                \"filesystem\"",
                            "idUuid:                 \"0b0b0b0b-1111-2222-3333-444455556666\"",
                            "partitionType:          \"0x83\"", "partitionFlags:         (\"boot\")",
                            "partitionScheme:        \"mbr\"", "driveIsMediaEjectable:  false",
                            "deviceIsOpticalDisc:    false"));
}

TEST_F(ArrangementTest, MachineWithoutDisksIsReadyAtOnce)
{
    fs::remove("/media");
    fs::remove("/mnt");
    start();
    EXPECT_TRUE(fs::is_directory("/media"));
    EXPECT_TRUE(fs::is_directory("/mnt"));
    EXPECT_THAT(story(), IsEmpty());
    stop();
}

TEST_F(ArrangementTest, SleepingWindowsIsMountedReadOnly)
{
    const std::string image = Images::ntfs("os", "OS", {"Windows/"});
    Images::hibernate(image);
    const std::string before = Images::checksum(image);
    machine.addInternal("sda1", image);
    start();
    const auto mounted = KernelMounts::at("/media/C:");
    ASSERT_TRUE(mounted);
    EXPECT_TRUE(mounted->isReadOnly);
    stop();
    EXPECT_EQ(Images::checksum(image), before);
}

TEST_F(ArrangementTest, BrokenNtfsIsReportedTwiceAndLeftOut)
{
    machine.addInternal("sda1", Images::blank("broken"), {"IdType = ntfs"});
    machine.addInternal("sda2", Images::ext4("good", "good"));
    start();
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/C:"));
    EXPECT_THAT(Files::namesIn("/mnt"), ElementsAre("sda1"));
    expectQuotedWarning("WARNING ntfs-3g: 0xc00");
    expectQuotedWarning("ERROR ntfs-3g: 0xc00");
    stop();
    EXPECT_THAT(Files::namesIn("/mnt"), IsEmpty());
}
