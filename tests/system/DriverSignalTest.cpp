#include <csignal>
#include <filesystem>
#include <sstream>

#include <sys/syscall.h>

#include "tests/support/Files.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/support/WaitFor.h"
#include "tests/system/CommandClient.h"
#include "tests/system/StandIn.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using namespace std::chrono_literals;
using testing::IsEmpty;

namespace {

/// The signals that one line of a process's status names, such as "SigBlk".
std::uint64_t signalsIn(const std::string& status, const std::string& line)
{
    const std::size_t at = status.find(line + ":\t");
    return at == std::string::npos ? 0 : std::stoull(status.substr(at + line.size() + 2, 16), nullptr, 16);
}

std::uint64_t bit(int signalNumber)
{
    return std::uint64_t{1} << static_cast<unsigned>(signalNumber - 1);
}

void waitForDriver()
{
    ASSERT_TRUE(waitFor([] { return fs::exists("/tmp/driving"); }));
}

} // namespace

/// Signals, and the programs that the service starts.
class DriverSignalTest : public MachineTest
{
protected:
    static void expectEnd(Service& service, int signalNumber)
    {
        service.send(signalNumber);
        Files::write("/tmp/go", "");
        EXPECT_EQ(service.waitForEnd(5s), 0) << signalNumber;
        EXPECT_EQ(ServiceLog::count("\"Signal caught: " + std::to_string(signalNumber) + "\""), 1);
        EXPECT_FALSE(fs::exists(Paths::PidFile));
        EXPECT_THAT(KernelMounts::directories(), IsEmpty());
        for (const std::string& file : {std::string("/tmp/driving"), std::string("/tmp/go"), Paths::Log}) {
            fs::remove(file);
        }
    }
};

TEST_F(DriverSignalTest, SignalWhileADriverIsStartedEndsTheServiceAfterwards)
{
    machine.addInternal("sda1", Images::ntfs("os", "OS"));
    machine.start();
    const Process::Environment environment = StandIn::environment();
    StandIn::makeDriverThatWaits();
    for (const int signalNumber : {SIGINT, SIGTERM, SIGQUIT}) {
        Service service({"log=10"}, environment);
        waitForDriver();
        expectEnd(service, signalNumber);
    }
}

TEST_F(DriverSignalTest, SignalWhileARemountRunsEndsTheServiceAfterwards)
{
    machine.addInternal("sda1", Images::ntfs("os", "OS"));
    machine.start();
    for (const int signalNumber : {SIGINT, SIGTERM, SIGQUIT}) {
        Service service({"log=10"}, StandIn::environment());
        ASSERT_TRUE(service.isReady());
        StandIn::makeDriverThatWaits();
        const CommandClient client;
        client.send("remount:/media/C:=ro");
        waitForDriver();
        expectEnd(service, signalNumber);
        StandIn::remove("ntfs-3g");
    }
}

TEST_F(DriverSignalTest, DriverInheritsNoSignalThatIsIgnoredOrBlocked)
{
    machine.addInternal("sda1", Images::ntfs("os", "OS"));
    const Process::Environment environment = StandIn::environment();
    StandIn::make("ntfs-3g", "cat /proc/self/status > /tmp/status\nexec /usr/bin/ntfs-3g \"$@\"\n");
    start({"log=10"}, environment);
    const std::string status = Files::content("/tmp/status");
    ASSERT_THAT(status, testing::HasSubstr("SigBlk:"));
    for (const int signalNumber : {SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGCHLD}) {
        EXPECT_EQ(signalsIn(status, "SigIgn") & bit(signalNumber), 0U) << signalNumber;
        EXPECT_EQ(signalsIn(status, "SigBlk") & bit(signalNumber), 0U) << signalNumber;
    }
    stop();
}

/// Whatever the libraries do about it.
TEST_F(DriverSignalTest, ServiceItselfSaysWhatABrokenPipeDoes)
{
    Service service;
    ASSERT_TRUE(service.isReady());
    const std::string status = Files::content("/proc/" + std::to_string(service.id()) + "/status");
    EXPECT_EQ(signalsIn(status, "SigBlk") & bit(SIGPIPE), 0U);
    EXPECT_EQ(signalsIn(status, "SigIgn") & bit(SIGPIPE), 0U);
    EXPECT_EQ(signalsIn(status, "SigCgt") & bit(SIGPIPE), bit(SIGPIPE));
    EXPECT_EQ(service.stop(SIGTERM), 0);
}
