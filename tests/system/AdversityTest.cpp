#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include <sys/mount.h>
#include <sys/stat.h>

#include "tests/support/Files.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/support/WaitFor.h"
#include "tests/system/CommandClient.h"
#include "tests/system/StandIn.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string MapDirectory = "/mounts/win/Program Files/Vorna";
const std::string MapFile = MapDirectory + "/drives.ini";

void writeDrivesMap(const std::string& content)
{
    fs::create_directories(MapDirectory);
    Files::write(MapFile, content);
}

long timesTraced(const std::string& operation)
{
    const std::vector<std::string> traces = ServiceLog::messages(Vorna::Trace);
    return std::count_if(traces.begin(), traces.end(), [&](const std::string& trace) {
        return trace.substr(trace.find(']') + 1) == operation;
    });
}

long dumpedLines()
{
    const std::vector<std::string> lines = ServiceLog::messages(Vorna::Debug);
    return std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.rfind("device", 0) == 0 || line.rfind("id", 0) == 0 || line.rfind("partition", 0) == 0;
    });
}

/// How often the main thread of a process has waited for something.
long timesAsleep(pid_t process)
{
    const std::string word = "\nvoluntary_ctxt_switches:\t";
    const std::string status = Files::content("/proc/" + std::to_string(process) + "/status");
    const std::size_t at = status.find(word);
    return at == std::string::npos ? 0 : std::stol(status.substr(at + word.size()));
}

std::string noise(std::size_t size)
{
    std::string result;
    unsigned state = 1;
    while (result.size() < size) {
        state = state * 1664525U + 1013904223U;
        result += static_cast<char>(state >> 24U);
    }
    return result;
}

} // namespace

/// Everything that can be missing, broken or hanging around the service.
class AdversityTest : public MachineTest
{
};

TEST_F(AdversityTest, WithoutASystemBusTheServiceStaysUp)
{
    removeBus();
    Service service;
    ASSERT_TRUE(service.isReady());
    EXPECT_EQ(service.stop(SIGTERM), 0);
    EXPECT_FALSE(fs::exists(Paths::PidFile));
}

TEST_F(AdversityTest, WithoutUDisksTheServiceStaysUp)
{
    Service service;
    ASSERT_TRUE(service.isReady());
    EXPECT_EQ(service.stop(SIGTERM), 0);
}

TEST_F(AdversityTest, WithoutUDisksAtFirstTheServiceHearsOfItLater)
{
    machine.addUnplugged("sdb1", Images::ext4("stick", "STICK"));
    Service service;
    ASSERT_TRUE(service.isReady());
    machine.start();
    machine.plug("sdb1");
    EXPECT_TRUE(waitFor([] { return KernelMounts::at("/media/STICK").has_value(); }));
    EXPECT_EQ(service.stop(SIGTERM), 0);
}

TEST_F(AdversityTest, UDisksThatGoesAndComesBackIsHeardAgain)
{
    machine.addInternal("sda1", Images::ext4("disk", "disk"));
    machine.addUnplugged("sdb1", Images::ext4("stick", "STICK"));
    start();
    machine.stopUDisks();
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda1");
    machine.start();
    machine.plug("sdb1");
    EXPECT_TRUE(waitFor([] { return KernelMounts::at("/media/STICK").has_value(); }));
    stop();
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
}

TEST_F(AdversityTest, SignalDuringStartUpIsServed)
{
    machine.addInternal("sda1", Images::ext4("disk", "disk"));
    machine.start();
    machine.freezeUDisks();
    Service service;
    ASSERT_TRUE(ServiceLog::shows("\"Set default log level: 10\""));
    service.send(SIGTERM);
    service.send(SIGINT);
    machine.thawUDisks();
    EXPECT_EQ(service.waitForEnd(5s), 0);
    EXPECT_FALSE(fs::exists(Paths::PidFile));
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
}

TEST_F(AdversityTest, UDisksThatHangsDuringStartUpDoesNotHoldTheService)
{
    machine.addInternal("sda1", Images::ext4("disk", "disk"));
    machine.start();
    machine.freezeUDisks();
    Service service;
    ASSERT_TRUE(ServiceLog::shows("\"Set default log level: 10\""));
    EXPECT_EQ(service.stop(SIGTERM, 10s), 0);
    EXPECT_FALSE(fs::exists(Paths::PidFile));
    machine.thawUDisks();
}

TEST_F(AdversityTest, UDisksThatHangsDuringStartUpIsLookedAtAgainAllTheTime)
{
    constexpr long Looks = 100; // which takes a second
    machine.start();
    machine.freezeUDisks();
    Service service;
    ASSERT_TRUE(ServiceLog::shows("\"Set default log level: 10\""));
    const long before = timesAsleep(service.id());
    EXPECT_TRUE(waitFor([&] { return timesAsleep(service.id()) > before + Looks; }));
    machine.thawUDisks();
    EXPECT_TRUE(service.isReady(1s));
    EXPECT_EQ(service.stop(SIGTERM), 0);
}

TEST_F(AdversityTest, UDisksThatIsSlowDuringStartUpIsAskedNothingAfterAStop)
{
    constexpr int Disks = 200;
    for (int disk = 1; disk <= Disks; ++disk) {
        machine.addInternal("sdx" + std::to_string(disk), "");
    }
    machine.start();
    machine.freezeUDisks();
    Service service;
    ASSERT_TRUE(ServiceLog::shows("\"Set default log level: 10\""));
    ASSERT_TRUE(waitFor([this] {
        machine.thawUDisks();
        std::this_thread::sleep_for(1ms);
        machine.freezeUDisks();
        return dumpedLines() > 0;
    }));
    const long before = dumpedLines();
    ASSERT_LT(before, Disks * 20 / 2);
    service.send(SIGTERM);
    machine.thawUDisks();
    EXPECT_EQ(service.waitForEnd(5s), 0);
    EXPECT_LE(dumpedLines(), before + 1) << "but for the question that was already asked";
}

TEST_F(AdversityTest, UDisksThatHangsInTheMiddleOfTheArrangementDoesNotHoldTheService)
{
    machine.addInternal("sda1", Images::ntfs("os", "OS"));
    machine.addInternal("sda2", Images::ext4("disk", "disk"));
    machine.start();
    const Process::Environment environment = StandIn::environment();
    StandIn::make("ntfs-3g", "kill -STOP " + std::to_string(machine.udisksId()) +
                                 "\n/usr/bin/ntfs-3g \"$@\"\nstatus=$?\ntouch /tmp/frozen\nexit $status\n");
    Service service({"log=10"}, environment);
    ASSERT_TRUE(waitFor([] { return fs::exists("/tmp/frozen"); }));
    EXPECT_EQ(service.stop(SIGTERM, 10s), 0);
    EXPECT_FALSE(fs::exists(Paths::PidFile));
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    machine.thawUDisks();
}

TEST_F(AdversityTest, UDisksThatHangsDuringARemountDoesNotHoldTheService)
{
    machine.addInternal("sda1", Images::ntfs("os", "OS"));
    start();
    machine.freezeUDisks();
    const CommandClient client;
    client.send("remount:/media/C:=ro");
    ASSERT_TRUE(waitFor([] { return timesTraced("remountPath") == 2; })) << "once was at the start";
    EXPECT_EQ(service().stop(SIGTERM, 10s), 0);
    EXPECT_EQ(client.reply(), "") << "whether the path exists was not found out";
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    machine.thawUDisks();
}

TEST_F(AdversityTest, UDisksThatHangsWhenNothingIsAskedDoesNotHoldTheService)
{
    machine.addInternal("sda1", Images::ext4("disk", "disk"));
    start();
    machine.freezeUDisks();
    EXPECT_EQ(service().stop(SIGTERM, 3s), 0);
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    machine.thawUDisks();
}

TEST_F(AdversityTest, RootThatIsAFileLeavesEveryPartitionWhereItIs)
{
    fs::remove("/media");
    Files::write("/media", "precious");
    machine.addInternal("sda1", Images::ext4("disk", "disk"));
    machine.addExternal("sdb1", Images::ext4("stick", "STICK"));
    start();
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/mnt/sda1"));
    expectQuotedWarning("ERROR mount: Not a directory");
    stop();
    EXPECT_EQ(Files::content("/media"), "precious");
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
}

TEST_F(AdversityTest, MissingNtfsDriverIsReported)
{
    fs::create_directories("/tmp/bin");
    machine.addInternal("sda1", Images::ntfs("os", "OS"));
    machine.addInternal("sda2", Images::ext4("disk", "disk"));
    start({"log=10"}, {{"PATH", "/tmp/bin"}});
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda2");
    expectQuotedWarning("WARNING ntfs-3g: 0x7f00");
    expectQuotedWarning("ERROR ntfs-3g: 0x7f00");
    stop();
}

TEST_F(AdversityTest, UnreadablePropertiesCountAsAbsent)
{
    const std::string image = Images::ext4("disk", "disk");
    machine.addInternal("sda1", image, {"IdType:missing ="});
    machine.addInternal("sda2", image, {"DeviceMajor:missing ="});
    machine.addInternal("sda3", image, {"DeviceMountPaths:missing ="});
    machine.addInternal("sda4", image, {"IdType:b = true"});
    machine.addInternal("sda5", image, {"DeviceFile:missing =", "IdLabel:missing ="});
    machine.addInternal("sda6", Images::ext4("good", "good"), {"IdUuid:missing =", "IdLabel:missing ="});
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda6");
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/C:", "/mnt/sda3"));
    expectQuotedWarning("ERROR mount: Invalid argument"); // the device without a node
    stop();
}

TEST_F(AdversityTest, EmptyDrivesMapGivesNoLetters)
{
    writeDrivesMap("");
    machine.addInternal("sda1", Images::ntfs("os", "OS"));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda1");
    EXPECT_EQ(ServiceLog::count(ServiceLog::quoted("Drives file found: " + MapFile)), 1);
    stop();
}

TEST_F(AdversityTest, DrivesMapOfNoiseGivesNoLetters)
{
    writeDrivesMap(noise(1048576));
    machine.addInternal("sda1", Images::ntfs("os", "OS"));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda1");
    stop();
}

TEST_F(AdversityTest, DrivesMapThatCannotBeReadLeavesNothingOfAnEarlierOne)
{
    Files::write("/tmp/drives.ini", "[Disk]\nPartition1=[0000000A]K:\n");
    writeDrivesMap("[Disk]\nPartition1=[0000000A]L:\n");
    // Reading fails for everybody, root included.
    ASSERT_EQ(mount("/proc/self/mem", MapFile.c_str(), nullptr, MS_BIND, nullptr), 0);
    machine.addInternal("sda1", Images::ntfs("os", "OS", {}, "010101010000000A"));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda1");
    EXPECT_EQ(Files::content("/tmp/drives.ini"), "");
    stop();
}

TEST_F(AdversityTest, EarlierCopyOfTheDrivesMapThatCannotBeReplacedIsRead)
{
    Files::write("/tmp/drives.ini", "[Disk]\nPartition1=[0000000A]K:\n");
    ASSERT_EQ(mount("/tmp/drives.ini", "/tmp/drives.ini", nullptr, MS_BIND, nullptr), 0);
    writeDrivesMap("[Disk]\nPartition1=[0000000A]L:\n");
    machine.addInternal("sda1", Images::ntfs("os", "OS", {}, "010101010000000A"));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/K:"), "/dev/sda1");
    stop();
    EXPECT_THAT(Files::namesIn("/tmp"), testing::Not(testing::Contains(testing::StartsWith("drives.ini."))))
        << "no leftovers";
}

TEST_F(AdversityTest, VornaThatIsALinkIsNotEntered)
{
    fs::create_directories("/mounts/win/Program Files");
    fs::create_directories("/elsewhere");
    Files::write("/elsewhere/drives.ini", "[Disk]\nPartition1=[0000000A]K:\n");
    fs::create_directory_symlink("/elsewhere", MapDirectory);
    machine.addInternal("sda1", Images::ntfs("os", "OS", {}, "010101010000000A"));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda1");
    EXPECT_EQ(ServiceLog::count("Drives file NOT found!"), 1);
    EXPECT_FALSE(fs::exists("/tmp/drives.ini"));
    stop();
}

TEST_F(AdversityTest, CopyOfTheDrivesMapReplacesALinkAndNotItsTarget)
{
    Files::write("/precious", "precious");
    fs::create_symlink("/precious", "/tmp/drives.ini");
    writeDrivesMap("[Disk]\nPartition1=[0000000A]K:\n");
    machine.addInternal("sda1", Images::ntfs("os", "OS", {}, "010101010000000A"));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/K:"), "/dev/sda1");
    EXPECT_EQ(Files::content("/precious"), "precious");
    EXPECT_FALSE(fs::is_symlink("/tmp/drives.ini"));
    stop();
}

struct BrokenMap
{
    const char* name;
    const char* content;
    const char* letter; ///< of an NTFS volume with the id 0000000A
};

class BrokenMapTest : public AdversityTest, public testing::WithParamInterface<BrokenMap>
{
};

TEST_P(BrokenMapTest, IsReadAsFarAsItGoes)
{
    writeDrivesMap(GetParam().content);
    machine.addInternal("sda1", Images::ntfs("os", "OS", {}, "010101010000000A"));
    start();
    EXPECT_EQ(KernelMounts::sourceAt(std::string("/media/") + GetParam().letter), "/dev/sda1");
    stop();
}

INSTANTIATE_TEST_SUITE_P(
    Lines, BrokenMapTest,
    testing::Values(
        BrokenMap{"NoSection", "Partition1=[0000000A]K:\n", "C:"},
        BrokenMap{"SectionNotClosed", "[Disk\nPartition1=[0000000A]K:\n", "K:"},
        BrokenMap{"NumberMissing", "[Disk]\nPartition1=[0000000B]C:\nPartition3=[0000000A]K:\n", "D:"},
        BrokenMap{"BeginsAtZero", "[Disk]\nPartition0=[0000000A]K:\n", "C:"},
        BrokenMap{"EmptyValue", "[Disk]\nPartition1=\nPartition2=[0000000A]K:\n", "C:"},
        BrokenMap{"BadVolumeId", "[Disk]\nPartition1=[0000000X]K:\n", "C:"},
        BrokenMap{"ShortVolumeId", "[Disk]\nPartition1=[A]K:\n", "C:"},
        BrokenMap{"NoVolumeId", "[Disk]\nPartition1=K:\n", "C:"},
        BrokenMap{"NoLetters", "[Disk]\nPartition1=[0000000A]\nPartition2=[0000000A]K:\n", "K:"},
        BrokenMap{"OtherClosingCharacter", "[Disk]\nPartition1=[0000000A)K:\n", "K:"},
        BrokenMap{"OtherKeyCase", "[Disk]\npartition1=[0000000A]K:\n", "C:"},
        BrokenMap{"NoSerial", "[Disk]\nPartition1=[0000000A]K:\n", "K:"},
        BrokenMap{"SecondDisk", "[B]\nPartition1=[0000000B]C:\n[C]\nPartition1=[0000000A]K:\n", "K:"}),
    [](const auto& testCase) { return testCase.param.name; });

TEST_F(AdversityTest, SecondDrivesMapIsNotLookedAt)
{
    writeDrivesMap("[Disk]\nPartition1=[0000000A]K:\n");
    fs::create_directories("/mounts/another/programs/Vorna");
    Files::write("/mounts/another/programs/Vorna/drives.ini", "[Disk]\nPartition1=[0000000A]L:\n");
    fs::create_directories("/mounts/aaa/Programs/Vorna");
    Files::write("/mounts/aaa/Programs/Vorna/Drives.ini", "[Disk]\nPartition1=[0000000A]M:\n");
    machine.addInternal("sda1", Images::ntfs("os", "OS", {}, "010101010000000A"));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/L:"), "/dev/sda1");
    stop();
}
