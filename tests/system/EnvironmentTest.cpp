#include <bitset>
#include <csignal>
#include <cstdlib>
#include <filesystem>

#include <QByteArray>

#include "tests/support/Files.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/support/WaitFor.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using testing::HasSubstr;

namespace {

/// From here on this process, and what it starts, has nothing but a path and the bus.
void clearEnvironment()
{
    const QByteArray path = qgetenv("PATH");
    const QByteArray bus = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    clearenv();
    setenv("PATH", path.constData(), 1);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", bus.constData(), 1);
}

std::string descriptorOf(pid_t process, unsigned number)
{
    std::error_code ignored;
    return fs::read_symlink("/proc/" + std::to_string(process) + "/fd/" + std::to_string(number), ignored);
}

} // namespace

/// The environment in which the programs are started, by a boot script mostly: less than a user's shell
/// provides.
class EnvironmentTest : public MachineTest
{
};

TEST_F(EnvironmentTest, WithoutALocaleNamesOutsideAsciiAreTheSameForAllThreePrograms)
{
    const std::string directory = "/media/M\xc3\xbcsli \xd0\xa1";
    machine.addUnplugged("sdb1", Images::ext4("stick", "M\xc3\xbcsli \xd0\xa1"));
    clearEnvironment();
    start();
    machine.plug("sdb1");
    EXPECT_TRUE(waitFor([&] { return KernelMounts::sourceAt(directory) == "/dev/sdb1"; }))
        << service().output();
    EXPECT_TRUE(ServiceLog::says("mount -text4 /dev/sdb1 " + directory + " "));
    const ProcessResult answer = runProgram({VRMOUNTCTL, "remount", directory, "ro"});
    EXPECT_THAT(answer.output, HasSubstr("WARNING re-mount path not found: [" + directory + "]"));
    expectQuotedWarning("WARNING re-mount path not found: [" + directory + "]");
    stop();
    EXPECT_FALSE(fs::exists(directory));
}

TEST_F(EnvironmentTest, WithoutStandardStreamsNothingGoesWhereItDoesNotBelong)
{
    constexpr unsigned Subsets = 8;
    for (unsigned subset = 0; subset < Subsets; ++subset) {
        SCOPED_TRACE(subset);
        const std::bitset<3> isClosed(subset);
        std::string command = "exec \"$@\"";
        for (unsigned number = 0; number < 3; ++number) {
            command += isClosed[number] ? " " + std::to_string(number) + ">&-" : "";
        }
        fs::remove(Paths::Log);
        Service service({"log=10"}, {}, {"sh", "-c", command, "sh"});
        ASSERT_TRUE(service.isReady());
        for (unsigned number = 0; number < 3; ++number) {
            if (isClosed[number]) {
                EXPECT_EQ(descriptorOf(service.id(), number), "/dev/null") << number;
            }
        }
        EXPECT_EQ(service.stop(SIGTERM), 0);
        EXPECT_EQ(service.output(), isClosed[2] ? "" : ServiceLog::raw());
        EXPECT_EQ(ServiceLog::count("\"Signal caught: 15\""), 1);
    }
}
