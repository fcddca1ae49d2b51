#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include <gmock/gmock.h>

#include "drives/DriveManager.h"
#include "process/StopRequest.h"
#include "tests/support/KernelDoor.h"
#include "tests/support/LogWatch.h"
#include "tests/support/MachineProvider.h"

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

/// A partition of the machine's own disk, already mounted as far as UDisks tells.
struct Partition
{
    std::string node;
    std::string type;
    std::string label;
    std::string uuid = "x";
    std::map<std::string, std::string> more = {}; ///< keys of the machine file that differ
};

std::string machine(const std::vector<Partition>& partitions)
{
    std::ostringstream result;
    for (const Partition& partition : partitions) {
        std::map<std::string, std::string> keys = partition.more;
        keys.insert({{"Internal", "true"},
                     {"Partition", "true"},
                     {"IdUsage", "filesystem"},
                     {"IdType", partition.type},
                     {"IdLabel", partition.label},
                     {"IdUuid", partition.uuid}});
        if (keys.count("DeviceMajor:u") == 0) {
            keys.insert({"DeviceMajor", "8"});
        }
        keys.insert({"DeviceMountPaths", "/mnt/" + partition.node});
        result << "[" << partition.node << "]\n";
        for (const auto& [key, value] : keys) {
            result << key << " = " << value << "\n";
        }
    }
    return result.str();
}

/// What UDisks reports of a partition that is found again where it was moved to.
std::map<std::string, std::string> mountedAt(const std::string& paths)
{
    return {{"DeviceMountPaths", paths}};
}

void writeMap(const std::string& content)
{
    const fs::path directory = "/mounts/sda2/Program Files/Vorna";
    fs::create_directories(directory);
    std::ofstream(directory / "drives.ini") << content;
}

std::string moved(const std::string& node, const std::string& letter)
{
    return "mount(/mnt/" + node + ", /media/" + letter + ", NULL, 0x2000, NULL)";
}

/// The moves among the calls, in order.
std::vector<std::string> moves()
{
    std::vector<std::string> result;
    for (const std::string& call : KernelDoor::calls()) {
        if (call.find(", NULL, 0x2000, NULL)") != std::string::npos) {
            result.push_back(call);
        }
    }
    return result;
}

class StartUpTest : public testing::Test
{
protected:
    StartUpTest() { KernelDoor::reset(); }

    static void startUp(const std::vector<Partition>& partitions)
    {
        const MachineProvider devices(machine(partitions));
        DriveManager::instance()->startUp();
    }
    static void startUpWithoutMap(const std::vector<Partition>& partitions)
    {
        LogWatch::expect("Drives file NOT found! ");
        startUp(partitions);
    }
};

TEST_F(StartUpTest, ArrangesATypicalWindowsMachine)
{
    fs::create_directories("/mnt/sda2/Windows");
    startUpWithoutMap(
        {{"sda1", "ntfs", "System Reserved", "x", mountedAt("/mnt/sda1,/media/system-reserved")},
         {"sda2", "ntfs", "OS", "x", mountedAt("/mnt/sda2,/media/C:")}});
    EXPECT_THAT(KernelDoor::calls(),
                ElementsAre("system(ntfs-3g /dev/sda1 /mnt/sda1)", moved("sda1", "system-reserved"),
                            "umount(/media/system-reserved)",
                            "system(ntfs-3g /dev/sda1 /media/system-reserved )",
                            "system(ntfs-3g /dev/sda2 /mnt/sda2)", moved("sda2", "C:"), "umount(/media/C:)",
                            "system(ntfs-3g /dev/sda2 /media/C: )"));
    EXPECT_FALSE(fs::exists("/mnt/sda1"));
    EXPECT_TRUE(fs::is_directory("/media/C:"));
    EXPECT_THAT(LogWatch::messages(7), Contains("\"--move  ->  C:\" "));
}

TEST_F(StartUpTest, GivesTwoWindowsInstallationsTwoLetters)
{
    fs::create_directories("/mnt/sda1/Windows");
    fs::create_directories("/mnt/sda2/Windows");
    startUpWithoutMap({{"sda1", "ntfs", "OS", "x", mountedAt("/mnt/sda1,/media/C:")},
                       {"sda2", "ntfs", "Other", "x", mountedAt("/mnt/sda2,/media/D:")},
                       {"sda3", "ext4", "Linux"}});
    EXPECT_THAT(moves(), ElementsAre(moved("sda1", "C:"), moved("sda2", "D:"), moved("sda3", "E:")));
}

TEST_F(StartUpTest, DoesNotRemountWhatIsNotNtfs)
{
    startUpWithoutMap({{"sda1", "vfat", "A"}, {"sda2", "ext4", "B"}});
    EXPECT_THAT(KernelDoor::calls(), Not(Contains(StartsWith("umount"))));
    EXPECT_THAT(moves(), ElementsAre(moved("sda1", "C:"), moved("sda2", "D:")));
}

TEST_F(StartUpTest, StacksASecondSystemPartitionOnTheFirst)
{
    startUpWithoutMap({{"sda1", "ext4", "SYSTEM"}, {"sda2", "ext4", "my system"}});
    EXPECT_THAT(moves(), ElementsAre(moved("sda1", "system-reserved"), moved("sda2", "system-reserved")));
}

TEST_F(StartUpTest, GivesASystemPartitionWithWindowsALetterLikeAnyOther)
{
    fs::create_directories("/mnt/sda1/Windows");
    startUpWithoutMap({{"sda1", "ext4", "System"}});
    EXPECT_THAT(moves(), ElementsAre(moved("sda1", "C:")));
}

TEST_F(StartUpTest, GivesTheLettersOfTheDrivesMapByVolumeId)
{
    writeMap("[disk]\nPartition1=[1234ABCD]C:\\\nPartition2=[C5D6E7F8]D:\\\n");
    startUp({{"sda1", "vfat", "A", "1234-ABCD"},
             {"sda2", "ntfs", "B", "01D2A3B4C5D6E7F8", mountedAt("/mnt/sda2,/media/D:")},
             {"sda3", "ext4", "C"}});
    EXPECT_THAT(moves(), ElementsAre(moved("sda1", "C:"), moved("sda2", "D:"), moved("sda3", "E:")));
}

TEST_F(StartUpTest, AdvancesTheRunningLetterOnlyByTheOrderOfTheMap)
{
    writeMap("[disk]\nPartition1=[000000D1]D:\nPartition2=[000000C1]C:\n");
    startUp({{"sda1", "vfat", "A", "0000-00D1"},
             {"sda2", "vfat", "B", "0000-00FF"},
             {"sda3", "vfat", "C", "0000-00C1"}});
    EXPECT_THAT(moves(), ElementsAre(moved("sda1", "D:"), moved("sda2", "E:"), moved("sda3", "C:")));
}

TEST_F(StartUpTest, DoesNotLookUpAnNtfsPartitionWithAShortUuid)
{
    writeMap("[disk]\nPartition1=[00000000]Q:\n");
    startUp(
        {{"sda1", "ntfs", "A", "12345678", mountedAt("/mnt/sda1,/media/C:")}, {"sda2", "ext4", "B", "0"}});
    EXPECT_THAT(moves(), ElementsAre(moved("sda1", "C:"), moved("sda2", "D:")));
}

TEST_F(StartUpTest, DoesNotLookUpAPartitionWithoutAUuid)
{
    writeMap("[disk]\nPartition1=K:\n");
    startUp({{"sda1", "ntfs", "A", "", mountedAt("/mnt/sda1,/media/C:")}});
    EXPECT_THAT(moves(), ElementsAre(moved("sda1", "C:")));
}

TEST_F(StartUpTest, TakesAMapLetterThatExistsAlready)
{
    fs::create_directories("/media/Q:");
    writeMap("[disk]\nPartition1=[1234ABCD]Q:\n");
    startUp({{"sda1", "vfat", "A", "1234-ABCD"}});
    EXPECT_THAT(moves(), ElementsAre(moved("sda1", "Q:")));
}

TEST_F(StartUpTest, FailsSilentlyOnAMapLetterThatWouldLeaveTheRoot)
{
    writeMap("[disk]\nPartition1=[1234ABCD]C:/Windows\nPartition2=[1234ABCE]..\nPartition3=[1234ABCF]\n");
    startUp({{"sda1", "vfat", "A", "1234-ABCD"},
             {"sda2", "vfat", "B", "1234-ABCE"},
             {"sda3", "vfat", "C", "1234-ABCF"}});
    EXPECT_THAT(moves(), ElementsAre(moved("sda3", "D:")));
    EXPECT_TRUE(fs::is_directory("/mnt/sda1"));
}

TEST_F(StartUpTest, HandsOutTheLastLetterAgainWhenAllAreTaken)
{
    for (char letter = 'C'; letter <= 'Z'; ++letter) {
        fs::create_directory(std::string("/media/") + letter + ":");
    }
    startUpWithoutMap({{"sda1", "ext4", "A"}, {"sda2", "ext4", "B"}});
    EXPECT_THAT(moves(), ElementsAre(moved("sda1", "Z:"), moved("sda2", "Z:")));
}

TEST_F(StartUpTest, LeavesAPartitionWhereItIsWhenTheMoveFailsAndSaysNothing)
{
    KernelDoor::answer("mount(/mnt/sda1, /media/C:", -1, EINVAL);
    startUpWithoutMap({{"sda1", "ntfs", "A"}, {"sda2", "ext4", "B"}});
    EXPECT_THAT(moves(), ElementsAre(moved("sda1", "C:"), moved("sda2", "C:")));
    EXPECT_TRUE(fs::is_directory("/mnt/sda1"));
    EXPECT_THAT(LogWatch::messages(7), Contains(HasSubstr("--move")).Times(1));
}

TEST_F(StartUpTest, PassesOverWhatIsNotMounted)
{
    startUpWithoutMap({{"sda1", "", "A", "x", mountedAt("")}, {"sda2", "ext4", "B"}});
    EXPECT_THAT(moves(), ElementsAre(moved("sda2", "C:")));
}

TEST_F(StartUpTest, ArrangesOnlyPartitionsOfScsiDisks)
{
    startUpWithoutMap({{"nvme0n1p1", "ext4", "A", "x", {{"DeviceMajor", "259"}}},
                       {"sda", "ext4", "B", "x", {{"DeviceIsPartition", "false"}}},
                       {"sdb1", "ext4", "C", "x", {{"DeviceMajor:u", "8"}}},
                       {"sdc1", "ext4", "D"}});
    EXPECT_THAT(moves(), ElementsAre(moved("sdc1", "C:")));
    EXPECT_THAT(LogWatch::messages(7), Contains(StartsWith("  > New deviceFile:")).Times(4));
}

TEST_F(StartUpTest, MountsAnExternalPartitionAndUndoesItsMove)
{
    KernelDoor::answer("mount(/mnt/sdb1,", -1, ENOENT);
    startUpWithoutMap(
        {{"sdb1", "ext4", "STICK", "x", {{"Internal", "false"}, {"DeviceMountPaths", "/media/STICK"}}}});
    EXPECT_THAT(KernelDoor::calls(),
                ElementsAre("mount(/dev/sdb1, /media/STICK, ext4, 0x0, )", moved("sdb1", "C:")));
    EXPECT_FALSE(fs::exists("/media/C:"));
    EXPECT_TRUE(fs::is_directory("/media/STICK"));
}

TEST_F(StartUpTest, NeverMovesTheTemporaryRootItself)
{
    startUpWithoutMap({{"sda1", "ext4", "A", "x", {{"DeviceFile:missing", ""}}}});
    EXPECT_THAT(moves(), IsEmpty());
}

TEST_F(StartUpTest, EndsWhenAStopWasAskedFor)
{
    const MachineProvider devices(machine({{"sda1", "ext4", "A"}}));
    DriveManager* manager = DriveManager::instance();
    StopRequest::make();
    LogWatch::expect("Drives file NOT found! ");
    manager->startUp();
    EXPECT_THAT(KernelDoor::calls(), IsEmpty());
}

} // namespace
