#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include <QDBusConnection>

#include "tests/provider/UDisksClient.h"
#include "tests/support/BusBeforeMain.h"
#include "tests/support/MachineProvider.h"
#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;
using testing::StartsWith;

namespace {

ProcessResult vrudisks(std::vector<std::string> arguments, const Process::Environment& environment = {})
{
    arguments.insert(arguments.begin(), MachineProvider::Program);
    return runProgram(arguments, environment);
}

class CommandTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (busBeforeMain() == nullptr) {
            GTEST_SKIP() << "dbus-daemon is not installed";
        }
    }
};

} // namespace

TEST_F(CommandTest, PlugsPullsAndChangesADevice)
{
    MachineProvider provider("[stick]\nNode = sdb1\nPlugged = false\n");
    EXPECT_EQ(vrudisks({"plug", "stick"}).status, 0);
    EXPECT_THAT(UDisksClient::enumerate(), testing::ElementsAre("sdb1"));
    EXPECT_EQ(vrudisks({"set", "stick", "IdLabel=A%20B"}).status, 0);
    EXPECT_EQ(UDisksClient::text("sdb1", "IdLabel").toStdString(), "A B");
    const ProcessResult done = vrudisks({"unplug", "stick"});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.output, "");
    EXPECT_THAT(UDisksClient::enumerate(), testing::IsEmpty());
}

TEST_F(CommandTest, SaysInOneLineWhatIsRefused)
{
    MachineProvider provider("[stick]\nNode = sdb1\n");
    const struct
    {
        std::vector<std::string> arguments;
        const char* message;
    } table[] = {
        {{"plug", "stick"}, "vrudisks: stick is plugged in already\n"},
        {{"unplug", "disk"}, "vrudisks: this machine has no device disk\n"},
        {{"set", "stick", "DeviceMajor=x"}, "vrudisks: DeviceMajor: \"x\" is not a value of type \"x\"\n"},
    };
    for (const auto& row : table) {
        const ProcessResult refused = vrudisks(row.arguments);
        EXPECT_EQ(refused.status, 1);
        EXPECT_EQ(refused.output, row.message);
    }
}

TEST_F(CommandTest, SaysThatNoProviderAnswers)
{
    const ProcessResult nobody = vrudisks({"plug", "stick"});
    EXPECT_EQ(nobody.status, 3);
    EXPECT_EQ(nobody.output, "vrudisks: no provider answers on the system bus\n");
    const ProcessResult noBus =
        vrudisks({"plug", "stick"}, {{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent"}});
    EXPECT_EQ(noBus.status, 3);
    EXPECT_EQ(noBus.output, "vrudisks: no provider answers: there is no system bus\n");
}

TEST_F(CommandTest, StartsNoProviderByAskingForOne)
{
    const TemporaryDirectory directory;
    const std::string started = directory.path() + "/started";
    std::ofstream(directory.path() + "/provider.service")
        << "[D-BUS Service]\nName=org.freedesktop.UDisks\nUser=root\nExec=/bin/touch " << started << "\n";
    const std::string usualBus = busBeforeMain()->address();
    {
        const PrivateBus bus(PrivateBus::EverythingIsPermitted + ("<servicedir>" + directory.path()) +
                             "</servicedir>");
        EXPECT_EQ(vrudisks({"plug", "stick"}).status, 3);
        EXPECT_FALSE(fs::exists(started));
        // The bus itself would start it.
        runProgram({"dbus-send", "--system", "--dest=org.freedesktop.UDisks", "/", "org.example.Nothing"});
        EXPECT_TRUE(waitFor([&] { return fs::exists(started); }));
    }
    setenv("DBUS_SYSTEM_BUS_ADDRESS", usualBus.c_str(), 1);
}

TEST_F(CommandTest, SaysThatTheProviderServesNoMachine)
{
    const QString name = QStringLiteral("org.freedesktop.UDisks");
    ASSERT_TRUE(QDBusConnection::systemBus().registerService(name));
    const ProcessResult refused = vrudisks({"plug", "stick"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.output, "vrudisks: the provider that runs serves no simulated machine\n");
    QDBusConnection::systemBus().unregisterService(name);
}

TEST_F(CommandTest, SaysHowManyDevicesItIsReadyWith)
{
    const struct
    {
        const char* machine;
        const char* line;
    } table[] = {{"", "vrudisks: ready with 0 devices\n"},
                 {"[sda]", "vrudisks: ready with 1 device\n"},
                 {"[sda]\n[sdb]", "vrudisks: ready with 2 devices\n"}};
    for (const auto& row : table) {
        MachineProvider provider(row.machine);
        EXPECT_EQ(provider.process().output(), row.line);
    }
}

TEST_F(CommandTest, ReadsFileNamesAndArgumentsAsUtf8WithoutALocale)
{
    const TemporaryDirectory directory;
    const std::string file = directory.path() + "/ger\xc3\xa4te.ini";
    std::ofstream(file) << "[st\xc3\xbc\x63k]\nNode = sdb1\nPlugged = false\n";
    const Process::Environment noLocale{{"LC_ALL", "C"}};
    Process provider({MachineProvider::Program, "--machine", file}, directory.path() + "/output", noLocale);
    ASSERT_TRUE(waitFor([&] { return provider.output() == "vrudisks: ready with 0 devices\n"; }))
        << provider.output();
    EXPECT_EQ(vrudisks({"plug", "st\xc3\xbc\x63k"}, noLocale).status, 0);
    EXPECT_THAT(UDisksClient::enumerate(), testing::ElementsAre("sdb1"));
}

TEST_F(CommandTest, NeedsABusToServe)
{
    const ProcessResult noBus =
        vrudisks({"--machine", "/dev/null"}, {{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent"}});
    EXPECT_EQ(noBus.status, 1);
    EXPECT_THAT(noBus.output, StartsWith("vrudisks: no system bus: "));
}

TEST_F(CommandTest, EndsWithStatusTwoOnAnErrorInTheFile)
{
    const TemporaryDirectory directory;
    const std::string file = directory.path() + "/m.ini";
    std::ofstream(file) << "[sda1]\nInternal = perhaps\n";
    const ProcessResult broken = vrudisks({"--machine", file});
    EXPECT_EQ(broken.status, 2);
    EXPECT_EQ(broken.output,
              "vrudisks: " + file + ":2: [sda1] Internal: \"perhaps\" is not a value of type \"b\"\n");
}

TEST_F(CommandTest, EndsWithStatusTwoOnWrongUse)
{
    const ProcessResult misused = vrudisks({"eject"});
    EXPECT_EQ(misused.status, 2);
    EXPECT_EQ(misused.output, "vrudisks: unknown argument \"eject\" (see vrudisks --help)\n");
}

TEST_F(CommandTest, ShowsHelpAndVersion)
{
    const ProcessResult help = vrudisks({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, StartsWith("Usage: vrudisks "));
    const ProcessResult version = vrudisks({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(version.output, StartsWith("vrudisks "));
}

TEST_F(CommandTest, PresentsTheMachineOfAFileByTheTableWhenAsked)
{
    const std::string machine = "[sdb1]\nIdType = vfat\nIdUsage = filesystem\nIdLabel = C:\n";
    {
        const MachineProvider asItIs(machine);
        EXPECT_EQ(UDisksClient::text("sdb1", "IdLabel").toStdString(), "C:");
    }
    {
        const MachineProvider asToday(machine, {"--as-today"});
        EXPECT_EQ(UDisksClient::text("sdb1", "IdLabel").toStdString(), "C_");
        EXPECT_EQ(vrudisks({"set", "sdb1", "IdLabel=D:"}).status, 0);
        EXPECT_EQ(UDisksClient::text("sdb1", "IdLabel").toStdString(), "D_");
    }
    const MachineProvider withoutOneRow(machine, {"--as-today", "--as-is=drive-letter-labels"});
    EXPECT_EQ(UDisksClient::text("sdb1", "IdLabel").toStdString(), "C:");
}

TEST_F(CommandTest, ExplainsWithoutABusAndWithoutAttachingAnything)
{
    const Process::Environment noBus{{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent"}};
    const TemporaryDirectory directory;
    const std::string file = directory.path() + "/m.ini";
    std::ofstream(directory.path() + "/disk.img") << "no file system";
    std::ofstream(file) << "[nvme0n1p1]\nImage = disk.img\nInternal = true\nDeviceMajor = 259\n[sdb]\n";
    const std::string asItIs = "/dev/nvme0n1p1: internal partition, no file system\n    presented as it is\n";
    const std::string sdb = "/dev/sdb: external device, no file system\n    presented as it is\n";
    EXPECT_EQ(vrudisks({"--machine", file, "--explain"}, noBus).output, asItIs + sdb);
    const ProcessResult one =
        vrudisks({"--machine", file, "--as-today", "--explain", "/dev/nvme0n1p1"}, noBus);
    EXPECT_EQ(one.status, 0);
    EXPECT_THAT(one.output,
                StartsWith("/dev/nvme0n1p1: internal partition, no file system\n"
                           "    presented with DeviceMajor 8 instead of 259\n    scsi-major: It is "));
    const ProcessResult none = vrudisks({"--machine", file, "--explain", "sd\033[2J"}, noBus);
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.output, "vrudisks: no block device sd\\x1b[2J\n");
    EXPECT_FALSE(std::filesystem::exists("/dev/nvme0n1p1"));
}

TEST_F(CommandTest, ExplainsAMachineWithoutDevices)
{
    const ProcessResult nothing = vrudisks({"--machine", "/dev/null", "--explain"});
    EXPECT_EQ(nothing.status, 0);
    EXPECT_EQ(nothing.output, "");
}
