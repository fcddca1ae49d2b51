#include <csignal>
#include <filesystem>
#include <fstream>

#include <sys/mount.h>

#include "tests/support/Files.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/support/WaitFor.h"
#include "tests/system/Listing.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using Listing::client;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A stick is ejected, and pulled then: the service, whose log is watched, has nothing to complain of.
class EjectTest : public MachineTest
{
protected:
    void addStick(const std::string& node, const std::string& image) { machine.addUnplugged(node, image); }

    void plug(const std::string& node, const std::string& directory)
    {
        machine.plug(node);
        ASSERT_TRUE(waitFor([&] { return KernelMounts::sourceAt(directory) == "/dev/" + node; }));
    }

    void pull(const std::string& node)
    {
        machine.unplug(node);
        EXPECT_TRUE(ServiceLog::says("Device removed: /org/freedesktop/UDisks/devices/" + node));
        EXPECT_EQ(ServiceLog::count("Trying to umount2"), 0);
    }

    /// Ejecting is refused or fails with this complaint, and nothing has changed.
    static void expectRefusal(const std::string& target, const std::string& complaint)
    {
        const std::vector<std::string> before = KernelMounts::directories();
        const ProcessResult result = client({"eject", target});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.output, "vrmountctl: " + complaint + "\n");
        EXPECT_EQ(KernelMounts::directories(), before);
    }

    static void expectEjected(const std::string& target, const std::string& output)
    {
        const ProcessResult result = client({"eject", target});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output, output + "\n");
    }
};

TEST_F(EjectTest, WritesOutUnmountsAndRemovesTheDirectoryOfAStick)
{
    const std::string image = Images::ext4("stick", "A STICK");
    addStick("sdb1", image);
    start();
    plug("sdb1", "/media/A STICK");
    Files::write("/media/A STICK/letter", "Dear Ada");
    expectEjected("/media/A STICK/", "/media/A STICK is unmounted: it may be pulled");
    EXPECT_THAT(Files::content(image), HasSubstr("Dear Ada"));
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
    EXPECT_EQ(Listing::noteOn("/dev/sdb1"), "not-mounted");

    expectRefusal("/media/A STICK", "nothing is mounted at /media/A STICK");
    expectEjected("/dev/sdb1", "/dev/sdb1 is not mounted: it may be pulled");
    pull("sdb1");
    plug("sdb1", "/media/A STICK");
    expectEjected("/dev/sdb1", "/dev/sdb1 is unmounted: it may be pulled");
    pull("sdb1");
    stop();
}

TEST_F(EjectTest, WaitsUntilTheDriverOfNtfsHasEnded)
{
    const std::string image = Images::ntfs("stick", "STICK");
    addStick("sdb1", image);
    start();
    plug("sdb1", "/media/STICK");
    Files::write("/media/STICK/letter", std::string(4096, 'x'));
    expectEjected("/media/STICK", "/media/STICK is unmounted: it may be pulled");
    EXPECT_NE(runProgram({"pidof", "ntfs-3g"}).status, 0);
    EXPECT_EQ(runProgram({"ntfs-3g.probe", "--readwrite", image}).status, 0);
    pull("sdb1");
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
    stop();
}

TEST_F(EjectTest, NamesWhoUsesTheStickAndChangesNothing)
{
    addStick("sdb1", Images::ext4("stick", "STICK", {"letter"}));
    start();
    plug("sdb1", "/media/STICK");
    const std::vector<std::string> uses{
        "exec sleep 60 </media/STICK/letter",
        "cd /media/STICK && exec sleep 60",
        "cp /bin/sleep /media/STICK/sleep && exec /media/STICK/sleep 60",
    };
    for (const std::string& use : uses) {
        Process user({"sh", "-c", use});
        const std::string comm = "/proc/" + std::to_string(user.id()) + "/comm";
        ASSERT_TRUE(waitFor([&] { return Files::content(comm) == "sleep\n"; })) << use;
        expectRefusal("/media/STICK", "/media/STICK is in use by sleep (process " +
                                          std::to_string(user.id()) + "): nothing was changed");
        user.send(SIGKILL);
        user.waitForEnd();
    }
    expectEjected("/media/STICK", "/media/STICK is unmounted: it may be pulled");
    pull("sdb1");
    stop();
}

TEST_F(EjectTest, IsRefusedForTheMachinesOwnDrivesAndWhatTheServiceHasNotMounted)
{
    machine.addInternal("sda1", Images::ntfs("windows", "Windows", {"Windows/"}));
    addStick("sdb1", Images::ext4("stick", "STICK", {"inner/"}));
    start();
    plug("sdb1", "/media/STICK");
    const std::string internal =
        "/dev/sda1 is a drive of this machine, not a stick: the service keeps it mounted until it ends";
    expectRefusal("/media/C:", internal);
    expectRefusal("/dev/sda1", internal);
    expectRefusal("/media/nothing", "nothing is mounted at /media/nothing");
    expectRefusal("/dev/null", "nothing is mounted at /dev/null");

    mountForeign("/media/foreign");
    expectRefusal("/media/foreign", "/media/foreign is not on a device");
    mountForeign("/media/STICK/inner");
    expectRefusal("/media/STICK", "foreign is mounted on it, at /media/STICK/inner: unmount that first");
    ASSERT_EQ(umount("/media/STICK/inner"), 0);
    mountForeign("/media/STICK");
    expectRefusal("/dev/sdb1", "foreign is mounted over it, at /media/STICK: unmount that first");
    ASSERT_EQ(umount("/media/STICK"), 0);
    fs::create_directory("/tmp/too");
    ASSERT_EQ(mount("/dev/sdb1", "/tmp/too", "ext4", 0, nullptr), 0);
    expectRefusal("/dev/sdb1",
                  "/dev/sdb1 is also mounted at /tmp/too, not by the service: unmount that first");
    ASSERT_EQ(umount("/tmp/too"), 0);

    machine.freezeUDisks();
    expectRefusal("/dev/sdb1",
                  "the provider of devices does not answer: whether /dev/sdb1 is a stick is not known");
    machine.thawUDisks();
    expectEjected("/dev/sdb1", "/dev/sdb1 is unmounted: it may be pulled");
    pull("sdb1");
    stop();
}

TEST_F(EjectTest, OfADiskEjectsAllItsPartitionsOrNone)
{
    addStick("sdb", Images::blank("disk"));
    addStick("sdb1", Images::ext4("first", "FIRST", {"letter"}));
    addStick("sdb2", Images::ntfs("second", "SECOND"));
    start();
    machine.plug("sdb");
    plug("sdb1", "/media/FIRST");
    plug("sdb2", "/media/SECOND");
    {
        const std::ifstream use("/media/FIRST/letter");
        const ProcessResult result = client({"eject", "/dev/sdb"});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.output, HasSubstr("/media/FIRST is in use by "));
    }
    // A second look does not take what the first one found unused.
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/FIRST", "/media/SECOND"));
    expectEjected("/media/SECOND", "/media/SECOND is unmounted, but not all of its disk: eject /dev/sdb1 at "
                                   "/media/FIRST too");
    expectEjected("/dev/sdb", "/dev/sdb is unmounted: it may be pulled");
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
    for (const char* node : {"sdb1", "sdb2", "sdb"}) {
        pull(node);
    }
    stop();
}

TEST_F(EjectTest, LeavesWhatAnotherMountNamespaceHolds)
{
    addStick("sdb1", Images::ext4("stick", "STICK"));
    start();
    plug("sdb1", "/media/STICK");
    Process other(
        {"unshare", "--mount", "--propagation", "private", "sh", "-c", "cd /media/STICK && exec sleep 60"});
    const std::string comm = "/proc/" + std::to_string(other.id()) + "/comm";
    ASSERT_TRUE(waitFor([&] { return Files::content(comm) == "sleep\n"; }));
    const ProcessResult result = client({"eject", "/media/STICK"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output,
              "vrmountctl: /dev/sdb1 is still used, by another mount namespace or a mapped device: "
              "do not pull it\n");
    other.send(SIGKILL);
    other.waitForEnd();
    EXPECT_TRUE(waitFor([] { return client({"eject", "/dev/sdb1"}).status == 0; }));
    pull("sdb1");
    stop();
}

TEST_F(EjectTest, IsForRootOnly)
{
    start();
    fs::copy_file(VRMOUNTCTL, "/tmp/vrmountctl", fs::copy_options::overwrite_existing);
    const ProcessResult result = runProgram(
        {"setpriv", "--reuid=65534", "--clear-groups", "/tmp/vrmountctl", "eject", "/media/STICK"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "vrmountctl: only root may unmount /media/STICK\n");
    stop();
}
