#include <csignal>
#include <filesystem>
#include <fstream>

#include <sys/mount.h>

#include "tests/support/Files.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/support/WaitFor.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string objectPath(const std::string& node)
{
    return "/org/freedesktop/UDisks/devices/" + node;
}

bool becomesMounted(const std::string& directory, const std::string& source)
{
    return waitFor([&] { return KernelMounts::sourceAt(directory) == source; });
}

bool isSupported(const std::string& fileSystem)
{
    runProgram({"modprobe", fileSystem});
    return Files::content("/proc/filesystems").find("\t" + fileSystem + "\n") != std::string::npos;
}

} // namespace

/// Devices that come and go while the service runs.
class StickTest : public MachineTest
{
protected:
    void plugAndExpect(const std::string& node, const std::string& directory)
    {
        machine.plug(node);
        EXPECT_TRUE(becomesMounted(directory, "/dev/" + node)) << service().output();
    }

    void pull(const std::string& node)
    {
        machine.unplug(node);
        EXPECT_TRUE(ServiceLog::says("Device removed: " + objectPath(node)));
    }
};

TEST_F(StickTest, IsMountedUnderItsLabelAndGoneWhenItIsPulled)
{
    machine.addUnplugged("sdb1", Images::ext4("stick", "USB DISK", {"notes.txt"}));
    start();
    plugAndExpect("sdb1", "/media/USB DISK");
    EXPECT_EQ(Files::content("/media/USB DISK/notes.txt"), "notes.txt");
    EXPECT_FALSE(KernelMounts::at("/media/USB DISK")->isReadOnly);
    EXPECT_EQ(ServiceLog::count("\"mount -text4 /dev/sdb1 /media/USB DISK \""), 1);

    pull("sdb1");
    EXPECT_TRUE(ServiceLog::says("Trying to umount2: /media/USB DISK"));
    EXPECT_TRUE(waitFor([] { return !Files::isListed("/media/USB DISK"); }));
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    stop();
}

TEST_F(StickTest, CanBePluggedAgain)
{
    machine.addUnplugged("sdb1", Images::ext4("stick", "STICK"));
    start();
    for (int time = 0; time < 2; ++time) {
        plugAndExpect("sdb1", "/media/STICK");
        machine.unplug("sdb1");
        EXPECT_TRUE(waitFor([] { return !Files::isListed("/media/STICK"); }));
    }
    stop();
}

TEST_F(StickTest, IsAnnouncedAndRemovedExactlyOnceWhenEverythingHasSettled)
{
    machine.addUnplugged("sdb1", Images::ext4("stick", "STICK"));
    machine.addUnplugged("sdc1", Images::ext4("other", "OTHER"));
    start();
    for (const char* node : {"sdb1", "sdc1"}) {
        machine.plug(node);
        EXPECT_TRUE(ServiceLog::says(std::string("Device to add: ") + objectPath(node)));
    }
    for (const char* node : {"sdb1", "sdc1"}) {
        pull(node);
    }
    stop(); // what is still on its way is in the log by then
    for (const char* node : {"sdb1", "sdc1"}) {
        EXPECT_EQ(ServiceLog::count(ServiceLog::quoted("Device to add: " + objectPath(node))), 1);
        EXPECT_EQ(ServiceLog::count(ServiceLog::quoted("Device removed: " + objectPath(node))), 1);
    }
    for (const char* directory : {"/media/STICK", "/media/OTHER"}) {
        EXPECT_EQ(ServiceLog::count(ServiceLog::quoted(std::string("Trying to umount2: ") + directory)), 1);
    }
}

TEST_F(StickTest, WithVfatIsMountedWithUtf8Names)
{
    if (!isSupported("vfat")) {
        GTEST_SKIP() << "the kernel has no vfat";
    }
    const std::string image = Images::blank("stick");
    ASSERT_EQ(runProgram({"mkfs.vfat", "-n", "DATA", image}).status, 0);
    machine.addUnplugged("sdb1", image);
    start();
    plugAndExpect("sdb1", "/media/DATA");
    EXPECT_EQ(ServiceLog::count("\"mount -tvfat /dev/sdb1 /media/DATA utf8\""), 1);
    stop();
}

TEST_F(StickTest, WithoutLabelIsMountedUnderItsUuid)
{
    const std::string uuid = "0b0b0b0b-1111-2222-3333-444455556666";
    machine.addUnplugged("sdb1", Images::ext4("stick", "", {}, uuid));
    start();
    plugAndExpect("sdb1", "/media/" + uuid);
    stop();
}

TEST_F(StickTest, HiddenByALinkOnAnotherMediumIsNotLookedForThere)
{
    machine.addUnplugged("sdb1", Images::ext4("stick", "DATA"));
    start();
    plugAndExpect("sdb1", "/media/DATA");
    mountForeign("/elsewhere");
    mountForeign("/media");
    fs::create_directory_symlink("/elsewhere", "/media/DATA");
    pull("sdb1");
    EXPECT_EQ(ServiceLog::count("\"Trying to umount2: /media/DATA\""), 0);
    stop();
    EXPECT_EQ(KernelMounts::sourceAt("/elsewhere"), "foreign");
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
}

TEST_F(StickTest, WithALabelInUseIsStackedOnTheFirst)
{
    machine.addUnplugged("sdb1", Images::ext4("first", "TWIN"));
    machine.addUnplugged("sdc1", Images::ext4("second", "TWIN"));
    start();
    plugAndExpect("sdb1", "/media/TWIN");
    plugAndExpect("sdc1", "/media/TWIN");
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/TWIN", "/media/TWIN"));
    pull("sdb1");
    EXPECT_TRUE(becomesMounted("/media/TWIN", "/dev/sdb1"))
        << "the directory is what is unmounted, not the device";
    stop();
}

TEST_F(StickTest, InUseStaysUntilTheEnd)
{
    machine.addUnplugged("sdb1", Images::ext4("stick", "BUSY", {"open.txt"}));
    start();
    plugAndExpect("sdb1", "/media/BUSY");
    {
        const std::ifstream inUse("/media/BUSY/open.txt");
        pull("sdb1");
        EXPECT_TRUE(ServiceLog::says("ERROR umount2: Device or resource busy"));
        expectQuotedWarning("ERROR umount2: Device or resource busy");
        EXPECT_EQ(KernelMounts::sourceAt("/media/BUSY"), "/dev/sdb1");
    }
    stop();
    EXPECT_FALSE(fs::exists("/media/BUSY"));
}

TEST_F(StickTest, WhoseDirectoryIsGoneIsLeftAlone)
{
    machine.addUnplugged("sdb1", Images::ext4("stick", "STICK"));
    machine.addUnplugged("sdc1", Images::ext4("other", "OTHER"));
    start();
    plugAndExpect("sdb1", "/media/STICK");
    ASSERT_EQ(umount("/media/STICK"), 0);
    ASSERT_TRUE(fs::remove("/media/STICK"));
    pull("sdb1");
    plugAndExpect("sdc1", "/media/OTHER");
    EXPECT_EQ(ServiceLog::count("\"Trying to umount2: /media/STICK\""), 0);
    stop();
}

TEST_F(StickTest, WhoseMountIsGoneCannotBeUnmounted)
{
    machine.addUnplugged("sdb1", Images::ext4("stick", "STICK"));
    start();
    plugAndExpect("sdb1", "/media/STICK");
    ASSERT_EQ(umount("/media/STICK"), 0);
    pull("sdb1");
    EXPECT_TRUE(ServiceLog::says("ERROR umount2: Invalid argument"));
    expectQuotedWarning("ERROR umount2: Invalid argument");
    EXPECT_TRUE(fs::exists("/media/STICK"));
    stop();
}

TEST_F(StickTest, WithNtfsStaysMountedWhenItIsPulled)
{
    machine.addUnplugged("sdb1", Images::ntfs("stick", "NTFSSTICK", {"notes.txt"}));
    machine.addUnplugged("sdc1", Images::ext4("other", "OTHER"));
    start();
    plugAndExpect("sdb1", "/media/NTFSSTICK");
    EXPECT_EQ(ServiceLog::count("\"ntfs-3g /dev/sdb1 /media/NTFSSTICK\""), 1);
    pull("sdb1");
    plugAndExpect("sdc1", "/media/OTHER");
    EXPECT_EQ(KernelMounts::sourceAt("/media/NTFSSTICK"), "/dev/sdb1");
    EXPECT_EQ(ServiceLog::count("\"Trying to umount2: /media/NTFSSTICK\""), 0);
    stop();
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
}

TEST_F(StickTest, WithNtfsAndABlankInItsLabelIsReportedAsNotMounted)
{
    machine.addUnplugged("sdb1", Images::ntfs("stick", "MY STICK"));
    start();
    machine.plug("sdb1");
    EXPECT_TRUE(ServiceLog::says("ntfs-3g -oro /dev/sdb1 /media/MY STICK"));
    EXPECT_TRUE(ServiceLog::says("ERROR ntfs-3g: 0xb00"));
    expectQuotedWarning("WARNING ntfs-3g: 0xb00");
    expectQuotedWarning("ERROR ntfs-3g: 0xb00");
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    stop();
}

TEST_F(StickTest, InternalDiskThatComesLaterIsMountedUnderItsNodeAndNotRecorded)
{
    machine.addUnplugged("sda2", Images::ext4("disk", "disk"), {"Internal = true"});
    start();
    plugAndExpect("sda2", "/mnt/sda2");
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty()) << "letters are handed out at the start only";
    pull("sda2");
    stop();
    EXPECT_EQ(ServiceLog::count("\"Trying to umount2: /mnt/sda2\""), 0);
    EXPECT_EQ(ServiceLog::count("\"/mnt/sda2\""), 1);
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
}

TEST_F(StickTest, WithEncryptionIsTriedBelowTheTemporaryRoot)
{
    machine.addUnplugged("sdb1", Images::blank("stick"),
                         {"IdType = crypto_LUKS", "IdUsage = crypto", "IdLabel = SECRET"});
    start();
    machine.plug("sdb1");
    EXPECT_TRUE(ServiceLog::says("mount -tcrypto_LUKS /dev/sdb1 /mnt/sdb1 "));
    EXPECT_TRUE(ServiceLog::says("ERROR mount: No such device"));
    expectQuotedWarning("ERROR mount: No such device");
    EXPECT_TRUE(fs::is_directory("/mnt/sdb1"));
    EXPECT_FALSE(fs::exists("/media/SECRET"));
    stop();
}

TEST_F(StickTest, WithSwapSpaceOrNothingIsPassedOverSilently)
{
    machine.addUnplugged("sdb1", Images::swap("swap", "SWAP"));
    machine.addUnplugged("sdc1", Images::blank("blank"));
    machine.addUnplugged("sdd1", Images::ext4("stick", "STICK"));
    start();
    machine.plug("sdb1");
    machine.plug("sdc1");
    plugAndExpect("sdd1", "/media/STICK");
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/STICK"));
    EXPECT_THAT(Files::namesIn("/media"), ElementsAre("STICK"));
    EXPECT_THAT(Files::namesIn("/mnt"), IsEmpty());
    stop();
}

TEST_F(StickTest, VolumeBelowADirectoryOfDevCannotBeMounted)
{
    machine.addUnplugged("mapper/vg-lv", Images::ext4("volume", "volume"), {"Internal = true"});
    start();
    machine.plug("mapper/vg-lv");
    EXPECT_TRUE(ServiceLog::says("ERROR mount: No such file or directory"));
    expectQuotedWarning("ERROR mount: No such file or directory");
    EXPECT_EQ(ServiceLog::count("\"mount -text4 /dev/mapper/vg-lv /mnt/mapper/vg-lv \""), 1);
    EXPECT_THAT(Files::namesIn("/mnt"), IsEmpty());
    stop();
}
