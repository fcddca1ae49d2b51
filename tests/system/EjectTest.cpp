#include <csignal>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <unistd.h>

#include "kernel/Descriptor.h"
#include "kernel/LoopDevice.h"
#include "tests/support/Files.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/support/WaitFor.h"
#include "tests/system/Listing.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using Listing::client;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

/// The beginning of a file in this process's memory; the file is not open any more.
class Mapping
{
public:
    explicit Mapping(const std::string& file)
    {
        const Descriptor opened(open(file.c_str(), O_RDONLY | O_CLOEXEC));
        _memory = mmap(nullptr, Size, PROT_READ, MAP_PRIVATE, opened.get(), 0);
        EXPECT_NE(_memory, MAP_FAILED);
    }
    ~Mapping() { munmap(_memory, Size); }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

private:
    static constexpr std::size_t Size = 1;
    void* _memory;
};

} // namespace

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
        for (const std::string& message : ServiceLog::messages(Vorna::Debug)) {
            EXPECT_THAT(message, Not(HasSubstr("Trying to umount2")));
        }
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

TEST_F(EjectTest, WaitsForADriverThatTakesItsTime)
{
    addStick("sdb1", Images::ext4("stick", "STICK"));
    start();
    plug("sdb1", "/media/STICK");
    fs::copy_file("/bin/sleep", "/tmp/slow-ntfs");
    Process driver({"sh", "-c", "exec /tmp/slow-ntfs 1 </dev/sdb1"});
    ASSERT_TRUE(driver.becomes("slow-ntfs"));
    expectEjected("/media/STICK", "/media/STICK is unmounted: it may be pulled");
    EXPECT_FALSE(driver.isRunning());
    pull("sdb1");
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
        ASSERT_TRUE(user.becomes("sleep")) << use;
        expectRefusal("/media/STICK", "/media/STICK is in use by sleep (process " +
                                          std::to_string(user.id()) + "): nothing was changed");
        user.send(SIGKILL);
        user.waitForEnd();
    }
    expectEjected("/media/STICK", "/media/STICK is unmounted: it may be pulled");
    pull("sdb1");
    stop();
}

TEST_F(EjectTest, NamesWhoUsesTheStickWithoutAnOpenFile)
{
    addStick("sdb1", Images::ext4("stick", "STICK", {"letter"}));
    start();
    plug("sdb1", "/media/STICK");
    {
        const Mapping mapping("/media/STICK/letter");
        expectRefusal("/media/STICK", "/media/STICK is in use by client_service_ (process " +
                                          std::to_string(getpid()) + "): nothing was changed");
    }
    Files::write("/media/STICK/image", std::string(8192, '\0'));
    {
        const LoopDevice loop("/media/STICK/image", "sdz1");
        const ProcessResult result = client({"eject", "/media/STICK"});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.output, ContainsRegex("is in use by .*the loop device loop[0-9]+: nothing was"));
    }
    EXPECT_TRUE(waitFor([] { return client({"eject", "/media/STICK"}).status == 0; }));
    pull("sdb1");
    stop();
}

TEST_F(EjectTest, LeavesTheRootAndWhatIsNotItsOwn)
{
    machine.addUnplugged("sdb1", Images::ext4("nameless", ""), {"IdUuid ="});
    addStick("sdc1", Images::ext4("stick", "STICK"));
    start();
    plug("sdc1", "/media/STICK");
    fs::create_directory("/tmp/below");
    ASSERT_EQ(mount("/media", "/tmp/below", nullptr, MS_BIND, nullptr), 0);
    Files::write("/tmp/below/STICK/forgotten", "x");
    expectEjected("/media/STICK",
                  "vrmountctl: /media/STICK could not be removed: something else is in it or mounted on it\n"
                  "/media/STICK is unmounted: it may be pulled");
    fs::remove_all("/media/STICK");
    ASSERT_EQ(umount("/tmp/below"), 0);
    pull("sdc1");

    plug("sdb1", "/media");
    expectEjected("/media", "/media is unmounted: it may be pulled");
    EXPECT_TRUE(fs::is_directory("/media"));
    // Not pulled: the service would try to unmount the root, which is still there.
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
    for (const std::string too : {"/tmp/too", "/media/too/deep"}) {
        fs::create_directories(too);
        ASSERT_EQ(mount("/dev/sdb1", too.c_str(), "ext4", 0, nullptr), 0);
        expectRefusal("/dev/sdb1",
                      "/dev/sdb1 is also mounted at " + too + ", not by the service: unmount that first");
        ASSERT_EQ(umount(too.c_str()), 0);
    }
    ASSERT_EQ(mount("/media/STICK/inner", "/media/too", nullptr, MS_BIND, nullptr), 0);
    expectRefusal("/dev/sdb1",
                  "/dev/sdb1 is also mounted at /media/too, not by the service: unmount that first");
    ASSERT_EQ(umount("/media/too"), 0);
    fs::remove_all("/media/too");

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
    addStick("sdb1", Images::ntfs("first", "FIRST"));
    addStick("sdb2", Images::ext4("second", "SECOND", {"letter"}));
    start();
    machine.plug("sdb");
    plug("sdb1", "/media/FIRST");
    plug("sdb2", "/media/SECOND");
    {
        const std::ifstream use("/media/SECOND/letter");
        // A second try does not take what the first one found unused.
        for (int time = 0; time < 2; ++time) {
            const ProcessResult result = client({"eject", "/dev/sdb"});
            EXPECT_EQ(result.status, 1);
            EXPECT_THAT(result.output, HasSubstr("/media/SECOND is in use by "));
        }
    }
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
    ASSERT_TRUE(other.becomes("sleep"));
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
