#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>

#include <unistd.h>

#include "tests/support/Files.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/support/WaitFor.h"
#include "tests/system/CommandClient.h"
#include "tests/system/StandIn.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// The log's messages from debug level on, since it had `count` lines.
std::vector<std::string> loggedSince(std::size_t count)
{
    const std::vector<LogWatch::Line> lines = ServiceLog::lines();
    std::vector<std::string> result;
    for (std::size_t at = count; at < lines.size(); ++at) {
        if (lines[at].level <= Vorna::Debug) {
            result.push_back(lines[at].message);
        }
    }
    return result;
}

bool isReadOnly(const std::string& directory)
{
    const auto mount = KernelMounts::at(directory);
    return mount && mount->isReadOnly;
}

std::vector<pid_t> processesOf(const std::string& program)
{
    std::vector<pid_t> result;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        std::error_code ignored;
        if (fs::read_symlink(entry.path() / "exe", ignored).filename() == program) {
            result.push_back(std::stoi(entry.path().filename()));
        }
    }
    return result;
}

/// The drive on /media/C: is mounted by a driver that takes its time, and leaves a mark when it begins.
void makeNtfsSlow()
{
    StandIn::make("ntfs-3g", "touch /tmp/started\nsleep 1\nexec /usr/bin/ntfs-3g \"$@\"\n");
}

bool hasBegun()
{
    return fs::exists("/tmp/started");
}

/// The sockets and pipes that a process holds.
std::set<std::string> channelsOf(pid_t process)
{
    std::set<std::string> result;
    for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(process) + "/fd")) {
        std::error_code ignored;
        const std::string target = fs::read_symlink(entry.path(), ignored);
        if (target.find(":[") != std::string::npos) {
            result.insert(target);
        }
    }
    return result;
}

} // namespace

/// A PC with Windows on /media/C: and a Linux partition on /media/D:, and requests to mount them differently.
class RemountTest : public MachineTest
{
protected:
    void SetUp() override
    {
        MachineTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        const std::string image = Images::ntfs("os", "OS", {"Windows/", "Windows/win.ini"});
        prepare(image);
        machine.addInternal("sda1", image);
        machine.addInternal("sda2", Images::ext4("linux", "linux"));
        start({"log=10"}, StandIn::environment());
        _linesBefore = ServiceLog::lines().size();
    }

    virtual void prepare(const std::string& /*windowsImage*/) {}

    std::vector<std::string> logged() const { return loggedSince(_linesBefore); }

private:
    std::size_t _linesBefore = 0;
};

TEST_F(RemountTest, NtfsIsUnmountedAndMountedWithTheOptions)
{
    EXPECT_EQ(ask("remount:/media/C:=ro"), "DONE remount: [/media/C:] with options: [ro]");
    EXPECT_TRUE(isReadOnly("/media/C:"));
    EXPECT_EQ(ask("remount:/media/C:=rw"), "DONE remount: [/media/C:] with options: [rw]");
    EXPECT_FALSE(isReadOnly("/media/C:"));
    EXPECT_EQ(ask("remount:/media/C:"), "DONE remount: [/media/C:] with options: []");
    EXPECT_EQ(Files::content("/media/C:/Windows/win.ini"), "Windows/win.ini");
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/C:", "/media/D:"));
    EXPECT_THAT(logged(),
                ElementsAre("\"ntfs-3g /dev/sda1 /media/C: -oro\" ", "\"ntfs-3g /dev/sda1 /media/C: -orw\" ",
                            "\"ntfs-3g /dev/sda1 /media/C: \" "));
    stop();
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
}

TEST_F(RemountTest, IgnoreCaseChoosesTheOtherDriver)
{
    EXPECT_FALSE(fs::exists("/media/C:/WINDOWS/WIN.INI"));
    EXPECT_EQ(ask("remount:/media/C:=ignore_case"), "DONE remount: [/media/C:] with options: [ignore_case]");
    EXPECT_TRUE(fs::exists("/media/C:/WINDOWS/WIN.INI"));
    EXPECT_THAT(logged(), ElementsAre("\"lowntfs-3g /dev/sda1 /media/C: -oignore_case\" "));
    stop();
}

class HibernatedRemountTest : public RemountTest
{
protected:
    void prepare(const std::string& windowsImage) override { Images::hibernate(windowsImage); }
};

TEST_F(HibernatedRemountTest, RemoveHiberfileRepairsAndMakesItWritable)
{
    ASSERT_TRUE(isReadOnly("/media/C:"));
    EXPECT_EQ(ask("remount:/media/C:=ignore_case,remove_hiberfile"),
              "DONE remount: [/media/C:] with options: [ignore_case,remove_hiberfile]");
    EXPECT_FALSE(isReadOnly("/media/C:"));
    EXPECT_FALSE(fs::exists("/media/C:/hiberfil.sys"));
    EXPECT_THAT(logged(), ElementsAre("\"ntfsfix /dev/sda1\" ",
                                      "\"lowntfs-3g /dev/sda1 /media/C: -oignore_case,remove_hiberfile\" "));
    stop();
}

TEST_F(RemountTest, BusyNtfsStaysAsItIsAndTheWholeChainIsLogged)
{
    {
        const std::ifstream inUse("/media/C:/Windows/win.ini");
        EXPECT_EQ(ask("remount:/media/C:=ro"), "");
    }
    EXPECT_FALSE(isReadOnly("/media/C:"));
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda1");
    EXPECT_THAT(logged(), ElementsAre("\"ERROR umount: [/media/C:] with error: Device or resource busy\" ",
                                      "\"ntfs-3g /dev/sda1 /media/C: -oro\" ", "\"WARNING ntfs-3g: 0x1000\" ",
                                      "\"ntfs-3g -oro /dev/sda1 /media/C:\" ", "\"ERROR ntfs-3g: 0x1000\" "));
    expectQuotedWarning("ERROR umount: [/media/C:] with error: Device or resource busy");
    expectQuotedWarning("WARNING ntfs-3g: 0x1000");
    expectQuotedWarning("ERROR ntfs-3g: 0x1000");
    stop();
}

TEST_F(RemountTest, FailingDriverFallsBackToReadOnlyWithAnEmptyReply)
{
    StandIn::make("ntfs-3g", "[ \"$1\" = -oro ] || exit 1\nexec /usr/bin/ntfs-3g \"$@\"\n");
    EXPECT_EQ(ask("remount:/media/C:=rw"), "");
    EXPECT_TRUE(isReadOnly("/media/C:"));
    EXPECT_THAT(logged(), ElementsAre("\"ntfs-3g /dev/sda1 /media/C: -orw\" ", "\"WARNING ntfs-3g: 0x100\" ",
                                      "\"ntfs-3g -oro /dev/sda1 /media/C:\" "));
    expectQuotedWarning("WARNING ntfs-3g: 0x100");
    stop();
}

TEST_F(RemountTest, DriverThatFailsTwiceLeavesTheDriveUnmountedWithAnEmptyReply)
{
    StandIn::make("ntfs-3g", "kill -KILL $$\n");
    EXPECT_EQ(ask("remount:/media/C:=rw"), "");
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "nothing");
    expectQuotedWarning("WARNING ntfs-3g: 0x8900");
    expectQuotedWarning("ERROR ntfs-3g: 0x8900");
    StandIn::remove("ntfs-3g");
    EXPECT_EQ(ask("remount:/media/C:=rw"), "WARNING re-mount path not found: [/media/C:]");
    expectQuotedWarning("WARNING re-mount path not found: [/media/C:]");
    stop();
}

TEST_F(RemountTest, MissingRepairToolDoesNotStopTheRemount)
{
    StandIn::make("ntfsfix", "exit 1\n");
    EXPECT_EQ(ask("remount:/media/C:=remove_hiberfile"),
              "DONE remount: [/media/C:] with options: [remove_hiberfile]");
    stop();
}

TEST_F(RemountTest, KernelFileSystemIsRemountedInPlace)
{
    const std::ifstream inUse("/media/D:/lost+found");
    EXPECT_EQ(ask("remount:/media/D:"), "DONE remount: [/media/D:] with options: []");
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_EQ(KernelMounts::sourceAt("/media/D:"), "/dev/sda2");
    stop();
}

TEST_F(RemountTest, KernelRefusesOptionsThatItDoesNotKnow)
{
    // The data is handed over with its "-o", which this file system does not take.
    const std::string refusal = "ERROR remount: [/media/D:] with error: Invalid argument";
    EXPECT_EQ(ask("remount:/media/D:=ro"), refusal);
    EXPECT_FALSE(isReadOnly("/media/D:"));
    expectQuotedWarning(refusal);
    stop();
}

TEST_F(RemountTest, PathIsComparedCharacterByCharacter)
{
    for (const std::string path : {"/media/C:/", "/media//C:", "/media/c:", "/media", "C:"}) {
        const std::string refusal = "WARNING re-mount path not found: [" + path + "]";
        EXPECT_EQ(ask("remount:" + path + "=ro"), refusal);
        expectQuotedWarning(refusal);
    }
    stop();
}

TEST_F(RemountTest, RequestIsNoShellCommand)
{
    fs::current_path("/tmp");
    EXPECT_EQ(ask("remount:/media/C:=ro;touch /tmp/hit"), "");
    EXPECT_FALSE(fs::exists("/tmp/hit"));
    expectQuotedWarning("WARNING ntfs-3g: 0xb00");
    stop();
}

TEST_F(RemountTest, DriverHoldsNoDescriptorOfTheService)
{
    ASSERT_EQ(ask("remount:/media/C:=ro"), "DONE remount: [/media/C:] with options: [ro]");
    const std::vector<pid_t> drivers = processesOf("ntfs-3g");
    ASSERT_EQ(drivers.size(), 1U);
    // Descriptors that this test was started with are inherited by everybody and prove nothing.
    const std::set<std::string> inherited = channelsOf(getpid());
    for (const std::string& channel : channelsOf(drivers.front())) {
        EXPECT_EQ(inherited.count(channel), 1U) << channel;
    }
    stop();
}

TEST_F(RemountTest, RemountThatRunsIsFinishedBeforeEverythingIsTakenDown)
{
    makeNtfsSlow();
    const CommandClient client;
    client.send("remount:/media/C:=ro");
    const CommandClient second;
    second.send("remount:/media/C:=rw");
    ASSERT_TRUE(waitFor(hasBegun));
    EXPECT_EQ(service().stop(SIGTERM), 0);
    EXPECT_EQ(client.reply(), "DONE remount: [/media/C:] with options: [ro]");
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    EXPECT_EQ(ServiceLog::count("\"ntfs-3g /dev/sda1 /media/C: -orw\""), 0) << "no other remount starts";
    EXPECT_FALSE(fs::exists(Paths::CommandSocket));
}

TEST_F(RemountTest, ProgramShowsTheReplyAndItsStatus)
{
    const ProcessResult done = runProgram({VRMOUNTCTL, "remount", "/media/C:", "ro"});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.output, "DONE remount: [/media/C:] with options: [ro]\n");
    EXPECT_TRUE(isReadOnly("/media/C:"));

    const ProcessResult refused = runProgram({VRMOUNTCTL, "remount", "/media/X:"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.output, "WARNING re-mount path not found: [/media/X:]\n"
                              "vrmountctl: the service did not do what it was asked\n");
    expectQuotedWarning("WARNING re-mount path not found: [/media/X:]");
    stop();
}

TEST_F(RemountTest, ProgramThatIsInterruptedDoesNotEndTheService)
{
    makeNtfsSlow();
    for (const int signalNumber : {SIGINT, SIGKILL}) {
        fs::remove("/tmp/started");
        Process program({VRMOUNTCTL, "remount", "/media/C:", "ro"});
        ASSERT_TRUE(waitFor(hasBegun));
        program.send(signalNumber);
        EXPECT_EQ(program.waitForEnd(), 128 + signalNumber);
        EXPECT_EQ(ask("move"), "Command not implemented!");
        EXPECT_TRUE(isReadOnly("/media/C:"));
    }
    stop();
}
