#include <csignal>
#include <filesystem>

#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "kernel/LoopDevice.h"
#include "tests/support/Files.h"
#include "tests/support/ForeignImages.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/support/WaitFor.h"
#include "tests/system/Listing.h"
#include "tests/system/StandIn.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using Listing::noteOn;

namespace {

const Machine::Settings Efi{"PartitionScheme = gpt", "PartitionType = C12A7328-F81F-11D2-BA4B-00A0C93EC93B"};

void run(const std::vector<std::string>& command)
{
    const ProcessResult result = runProgram(command);
    ASSERT_EQ(result.status, 0) << command.front() << ": " << result.output;
}

void unmount(const std::string& directory)
{
    ASSERT_EQ(umount(directory.c_str()), 0) << directory;
}

/// The command of a remedy, which stands before the first words that are not part of it.
std::string commandIn(const std::string& remedy)
{
    const std::size_t end = std::min(remedy.find(" makes it"), remedy.find(" resets"));
    return "PATH=$PATH:" + fs::path(VRMOUNTCTL).parent_path().string() + "; " + remedy.substr(0, end);
}

} // namespace

/// What the list says of drives, made so on real images.
class DriveNotesTest : public MachineTest
{
protected:
    std::string hibernated() const
    {
        std::string image = Images::ntfs("sleeping", "Sleeping", {"Windows/"});
        Images::hibernate(image);
        return image;
    }
    std::string unclean() const
    {
        std::string image = Images::ntfs("unclean", "Unclean");
        ForeignImages::leaveUnclean(image);
        return image;
    }
    std::string damaged() const
    {
        std::string image = Images::ntfs("damaged", "Damaged");
        ForeignImages::damage(image);
        return image;
    }
    static void tryRemedy(const std::string& device)
    {
        run({"sh", "-c", commandIn(Listing::text(device, "remedy"))});
        EXPECT_EQ(noteOn(device), "") << device;
        EXPECT_FALSE(Listing::byDevice()[device].value(QStringLiteral("readOnly")).toBool(true)) << device;
    }
};

TEST_F(DriveNotesTest, SayWhyNothingOfADiskCanBeMounted)
{
    machine.addInternal("sda1", Images::ntfs("windows", "Windows", {"Windows/"}));
    machine.addInternal("sda2", ForeignImages::bitLocker("bitlocker"));
    machine.addInternal("sda3", ForeignImages::luks("luks"));
    machine.addInternal("sda4", ForeignImages::lvm("lvm"));
    machine.addInternal("sda5", ForeignImages::md("md"));
    machine.addInternal("sda10", ForeignImages::pool("pool"));
    machine.addInternal("sda11", ForeignImages::firmwareRaid("raid"));
    machine.addInternal("sda6", Images::swap("swap", "SWAP"));
    machine.addInternal("sda7", Images::blank("blank"));
    machine.addInternal("sda8", ForeignImages::refs("refs"));
    machine.addInternal("sda9", damaged());
    machine.addExternal("sdb", Images::ext4("stick", "WHOLE"));
    for (int unknown = 0; unknown < 7; ++unknown) {
        expectWarning(ServiceLog::quoted("ERROR mount: No such device"));
    }
    expectQuotedWarning("WARNING ntfs-3g: 0xd00");
    expectQuotedWarning("ERROR ntfs-3g: 0xd00");
    start();

    const std::vector<std::vector<std::string>> table{
        {"sda1", "", "ntfs"},
        {"sda2", "bitlocker", "BitLocker"},
        {"sda3", "luks", "crypto_LUKS"},
        {"sda4", "lvm", "LVM2_member"},
        {"sda5", "md", "linux_raid_member"},
        {"sda6", "swap", "swap"},
        {"sda10", "pool", "ceph_bluestore"},
        {"sda11", "raid", "isw_raid_member"},
        {"sda7", "no-file-system", ""},
        {"sda8", "no-driver", "ReFS"},
        {"sda9", "damaged", "ntfs"},
        {"sdb", "no-partition-table", "ext4"},
    };
    for (const auto& row : table) {
        EXPECT_EQ(noteOn("/dev/" + row[0]), row[1]) << row[0];
        EXPECT_EQ(Listing::text("/dev/" + row[0], "type"), row[2]) << row[0];
    }
    stop();
    EXPECT_EQ(noteOn("/dev/sda1"), "no-service");
}

TEST_F(DriveNotesTest, SayWhyADriveIsReadOnly)
{
    machine.addInternal("sda1", hibernated());
    const std::string image = unclean();
    machine.addInternal("sda2", image);
    machine.addInternal("sda3", Images::ntfs("asked", "Asked"));
    machine.addInternal("sda4", Images::ext4("linux", "Linux"));
    machine.addInternal("sda5", Images::ntfs("locked", "Locked"));
    start();
    // The driver mends a journal by itself, if nobody forbids it.
    EXPECT_EQ(noteOn("/dev/sda2"), "");
    unmount("/media/D:");
    ForeignImages::leaveUnclean(image);
    run({"ntfs-3g", "-o", "ro,norecover", "/dev/sda2", "/media/D:"});
    EXPECT_EQ(Listing::client({"remount", "/media/E:", "ro"}).status, 0);
    run({"mount", "-o", "remount,ro", "/media/F:"});
    run({"blockdev", "--setro", "/dev/sda5"});
    EXPECT_EQ(Listing::client({"remount", "/media/G:"}).status, 0);
    EXPECT_EQ(noteOn("/dev/sda1"), "hibernated");
    EXPECT_EQ(noteOn("/dev/sda2"), "unclean");
    EXPECT_EQ(noteOn("/dev/sda3"), "requested");
    EXPECT_EQ(noteOn("/dev/sda4"), "requested");
    EXPECT_EQ(noteOn("/dev/sda5"), "write-protected");
    // A part of a drive that is shown elsewhere says nothing of the drive.
    fs::create_directory("/media/part");
    run({"mount", "--bind", "/media/C:/Windows", "/media/part"});
    EXPECT_EQ(noteOn("/dev/sda1"), "");
    unmount("/media/part");
    for (const char* device : {"/dev/sda1", "/dev/sda2", "/dev/sda3", "/dev/sda4", "/dev/sda5"}) {
        tryRemedy(device);
    }
    stop();
}

TEST_F(DriveNotesTest, SayWhatBecameOfADriveThatWasMounted)
{
    machine.addInternal("sda1", Images::ntfs("dead", "Dead"));
    machine.addInternal("sda2", Images::ext4("covered", "Covered"));
    machine.addInternal("sda3", Images::ext4("elsewhere", "Elsewhere"));
    machine.addInternal("sda4", Images::ext4("medium", "Medium"));
    machine.addInternal("sda5", Images::ext4("locked", "Locked"));
    machine.addInternal("sda6", Images::ext4("unmounted", "Unmounted"));
    machine.addExternal("sdb1", Images::ext4("stick", "STICK"));
    start();
    ASSERT_EQ(umount("/media/C:"), 0); // the letters' directories are those of the partitions' order
    run({"ntfs-3g", "/dev/sda1", "/media/C:"});
    run({"sh", "-c", "kill -KILL $(pidof ntfs-3g)"});
    mountForeign("/media/D:");
    fs::create_directory("/tmp/elsewhere");
    fs::create_directories("/run/live/medium");
    for (const char* directory : {"/media/E:", "/media/F:", "/media/G:", "/media/H:", "/media/STICK"}) {
        unmount(directory);
    }
    mountForeign("/media/STICK");
    run({"mount", "/dev/sda3", "/tmp/elsewhere"});
    run({"mount", "-o", "ro", "/dev/sda4", "/run/live/medium"});
    run({"blockdev", "--setro", "/dev/sda5"});

    const std::vector<std::pair<std::string, std::string>> table{
        {"/dev/sda1", "dead"},
        {"/dev/sda2", "hidden"},
        {"/dev/sda3", "elsewhere"},
        {"/dev/sda4", "rescue-medium"},
        {"/dev/sda5", "read-only-medium"},
        {"/dev/sda6", "not-mounted"},
        {"/dev/sdb1", "directory-in-use"},
    };
    for (const auto& [device, note] : table) {
        EXPECT_EQ(noteOn(device), note) << device;
    }
    run({"mount", "-t", "tmpfs", "second", "/media/D:"});
    EXPECT_EQ(Listing::text("/dev/sda2", "reason"), "hidden by second, which is mounted over it");
    unmount("/media/D:");
    run({"blockdev", "--setrw", "/dev/sda5"});
    for (const char* directory : {"/media/C:", "/tmp/elsewhere", "/run/live/medium", "/media/STICK"}) {
        umount2(directory, MNT_DETACH);
    }
    stop();
}

TEST_F(DriveNotesTest, SayWhyAPartitionHasNoLetter)
{
    machine.presentAsToday();
    machine.addInternal("sda1", Images::ext4("efi", "EFI"), Efi);
    machine.addInternal("sda2", Images::ext4("linux", "Linux"));
    machine.addUnplugged("sdb1", Images::ext4("late", "Late"),
                         {"Internal = true", "DeviceDetectionTime = 9999999999"});
    machine.addUnplugged("sdc1", Images::ext4("odd", "Odd"), {"Internal = true"});
    machine.addUnplugged("sdd1", Images::ext4("hidden", "Hidden"), {"Internal = true", Efi[0], Efi[1]});
    start();
    for (const char* node : {"sdb1", "sdc1", "sdd1"}) {
        machine.plug(node);
        EXPECT_TRUE(
            waitFor([&] { return KernelMounts::sourceAt(std::string("/mnt/") + node) != "nothing"; }));
    }
    EXPECT_EQ(noteOn("/dev/sda1"), "windows-hidden");
    EXPECT_EQ(noteOn("/dev/sda2"), "");
    EXPECT_EQ(noteOn("/dev/sdb1"), "appeared-later");
    EXPECT_EQ(noteOn("/dev/sdc1"), "no-letter");
    EXPECT_EQ(noteOn("/dev/sdd1"), "windows-hidden");
    // Without a service nothing is later than its start.
    service().send(SIGKILL);
    ASSERT_TRUE(service().waitForEnd(std::chrono::seconds(5)));
    EXPECT_EQ(noteOn("/dev/sdb1"), "no-letter");
}

TEST_F(DriveNotesTest, SayThatASharedMountLetsNoPartitionGo)
{
    ASSERT_EQ(mount("/mnt", "/mnt", nullptr, MS_BIND, nullptr), 0);
    ASSERT_EQ(mount(nullptr, "/mnt", nullptr, MS_SHARED, nullptr), 0);
    machine.addInternal("sda1", Images::ext4("linux", "Linux"));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/mnt/sda1"), "/dev/sda1");
    EXPECT_EQ(noteOn("/dev/sda1"), "shared-mount");
    stop();
}

TEST_F(DriveNotesTest, SayWhatTheKernelHasAndTheProviderDoesNotOffer)
{
    machine.addInternal("sda1", Images::ext4("linux", "Linux"));
    start();
    const LoopDevice other(Images::ext4("other", "Other"), "sdz1");
    const LoopDevice blank(Images::blank("blank"), "sdz2");
    const LoopDevice memory(Images::ext4("memory", "Memory"), "zram0");
    Files::write("/tmp/tiny", std::string(4096, '\0'));
    const LoopDevice tiny("/tmp/tiny", "sdz3");
    EXPECT_EQ(noteOn("/dev/sdz1"), "not-offered");
    EXPECT_EQ(Listing::text("/dev/sdz1", "label"), "Other");
    machine.stopUDisks();
    EXPECT_EQ(noteOn("/dev/sdz1"), "");
    EXPECT_EQ(noteOn("/dev/sdz2"), "no-file-system");
    for (const char* device : {"/dev/zram0", "/dev/sdz3"}) {
        EXPECT_EQ(Listing::byDevice().count(device), 0U) << device;
    }
    stop();
}

TEST_F(DriveNotesTest, SayThatTheServiceStillArrangesTheDrives)
{
    machine.addInternal("sda1", Images::ntfs("windows", "Windows"));
    machine.addInternal("sda2", Images::ext4("linux", "Linux"));
    machine.start();
    const Process::Environment environment = StandIn::environment();
    StandIn::makeDriverThatWaits();
    StandIn::make("ntfs-3g.probe", "touch /tmp/asked\n");
    Service service({"log=10"}, environment);
    ASSERT_TRUE(waitFor([] { return fs::exists("/tmp/driving"); }));
    EXPECT_EQ(noteOn("/dev/sda2"), "arranging");
    // The driver of a volume that is asked about could not mount it.
    EXPECT_EQ(runProgram({VRMOUNTCTL, "list"}, environment).status, 0);
    EXPECT_FALSE(fs::exists("/tmp/asked"));
    Files::write("/tmp/go", "");
    ASSERT_TRUE(service.isReady());
    EXPECT_EQ(noteOn("/dev/sda2"), "");
    unmount("/media/C:");
    EXPECT_EQ(runProgram({VRMOUNTCTL, "list"}, environment).status, 0);
    EXPECT_TRUE(fs::exists("/tmp/asked"));
    EXPECT_EQ(service.stop(SIGTERM), 0);
}

TEST_F(DriveNotesTest, OfDisksThatDoNotAnswerTakeTwoSecondsInAll)
{
    for (const char* node : {"sda1", "sda2", "sda3"}) {
        machine.addInternal(node, Images::ntfs(node, node));
    }
    machine.addInternal("sda4", Images::ext4("linux", "Linux"));
    start();
    run({"sh", "-c", "kill -STOP $(pidof ntfs-3g)"});
    machine.freezeUDisks();
    const auto begin = std::chrono::steady_clock::now();
    const auto rows = Listing::byDevice();
    const auto end = std::chrono::steady_clock::now();
    machine.thawUDisks();
    run({"sh", "-c", "kill -CONT $(pidof ntfs-3g)"});
    EXPECT_GE(end - begin, std::chrono::milliseconds(1900));
    EXPECT_LT(end - begin, std::chrono::milliseconds(2900));
    for (const char* device : {"/dev/sda1", "/dev/sda2", "/dev/sda3"}) {
        EXPECT_EQ(rows.at(device).value(QStringLiteral("note")).toString(), QStringLiteral("no-answer"))
            << device;
    }
    EXPECT_TRUE(rows.at("/dev/sda4").value(QStringLiteral("note")).isNull());
    stop();
}

TEST_F(DriveNotesTest, OfSixteenDrivesTakeLessThanATenthOfASecondOfTheProcessors)
{
    const auto spent = [] {
        rusage usage = {};
        getrusage(RUSAGE_CHILDREN, &usage);
        return std::chrono::seconds(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
               std::chrono::microseconds(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
    };
    for (int number = 1; number <= 16; ++number) {
        const std::string node = "sd" + std::string(1, static_cast<char>('a' + number)) + "1";
        machine.addInternal(node, number <= 4 ? Images::ntfs(node, node) : Images::ext4(node, node));
    }
    start();
    auto least = std::chrono::microseconds::max();
    for (int time = 0; time < 5; ++time) {
        const auto before = spent();
        ASSERT_EQ(Listing::byDevice().size(), 16U);
        least = std::min(least, spent() - before);
    }
    EXPECT_LT(least, std::chrono::milliseconds(100));
    stop();
}
