#include <csignal>
#include <filesystem>
#include <fstream>

#include <unistd.h>

#include <gmock/gmock.h>

#include <QDBusConnectionInterface>

#include "tests/provider/UDisksClient.h"
#include "tests/support/BusBeforeMain.h"
#include "tests/support/MachineProvider.h"
#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* Ready = "vrudisks: ready with 1 device\n";

bool isServed()
{
    return QDBusConnection::systemBus().interface()->isServiceRegistered(
        QStringLiteral("org.freedesktop.UDisks"));
}

/// `vrudisks` without some of its standard streams: bit n of the parameter closes descriptor n.
class StandardStreamsTest : public testing::TestWithParam<unsigned>
{
protected:
    void SetUp() override
    {
        if (busBeforeMain() == nullptr) {
            GTEST_SKIP() << "dbus-daemon is not installed";
        }
        std::ofstream(machine) << "[stick]\nNode = sdb1\n";
    }

    static bool isClosed(unsigned descriptor) { return (GetParam() & 1U << descriptor) != 0; }

    static std::vector<std::string> vrudisks(const std::vector<std::string>& arguments)
    {
        std::string script = "exec \"$@\"";
        for (unsigned descriptor = 0; descriptor <= 2; ++descriptor) {
            script += isClosed(descriptor) ? " " + std::to_string(descriptor) + ">&-" : "";
        }
        std::vector<std::string> command{"sh", "-c", script, "sh", MachineProvider::Program};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return command;
    }

    TemporaryDirectory directory;
    std::string machine = directory.path() + "/m.ini";
};

} // namespace

TEST_P(StandardStreamsTest, ServesAndEndsInOrderWithoutThem)
{
    Process provider(vrudisks({"--machine", machine}), directory.path() + "/output");
    ASSERT_TRUE(waitFor([&] { return isServed() || !provider.isRunning(); }));
    for (unsigned descriptor = 0; descriptor <= 2; ++descriptor) {
        const std::string stream =
            "/proc/" + std::to_string(provider.id()) + "/fd/" + std::to_string(descriptor);
        EXPECT_EQ(fs::read_symlink(stream) == "/dev/null", isClosed(descriptor) || descriptor == 0) << stream;
    }
    if (!isClosed(STDERR_FILENO)) {
        EXPECT_TRUE(waitFor([&] { return provider.output() == Ready; })) << provider.output();
    }
    EXPECT_THAT(UDisksClient::enumerate(), testing::ElementsAre("sdb1"));
    EXPECT_TRUE(provider.isRunning());
    provider.send(SIGTERM);
    EXPECT_EQ(provider.waitForEnd(), 0);
}

TEST_P(StandardStreamsTest, CarriesOutCommandsWithoutThem)
{
    const MachineProvider provider("[stick]\nNode = sdb1\nPlugged = false\n");
    EXPECT_EQ(runProgram(vrudisks({"plug", "stick"})).status, 0);
    EXPECT_THAT(UDisksClient::enumerate(), testing::ElementsAre("sdb1"));
    EXPECT_EQ(runProgram(vrudisks({"plug", "stick"})).status, 1);
    EXPECT_EQ(runProgram(vrudisks({"--version"})).status, 0);
}

INSTANTIATE_TEST_SUITE_P(EverySubset, StandardStreamsTest, testing::Range(0U, 8U));
