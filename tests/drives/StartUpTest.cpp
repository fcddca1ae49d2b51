#include <cerrno>
#include <filesystem>

#include <gmock/gmock.h>

#include "drives/DriveManager.h"
#include "process/StopRequest.h"
#include "tests/drives/ArrangedPartitions.h"
#include "tests/support/KernelDoor.h"
#include "tests/support/LogWatch.h"
#include "tests/support/MachineProvider.h"
#include "tests/support/ScriptedUDisks.h"

namespace fs = std::filesystem;
using namespace ArrangedPartitions;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

class StartUpTest : public testing::Test
{
protected:
    StartUpTest() { KernelDoor::reset(); }

    static void startUp(const std::vector<ArrangedPartition>& partitions)
    {
        const MachineProvider devices(machine(partitions));
        DriveManager::instance()->startUp();
    }
    static void startUpWithoutMap(const std::vector<ArrangedPartition>& partitions)
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

TEST_F(StartUpTest, DoesNotRemountWhatIsNotNtfs)
{
    startUpWithoutMap({{"sda1", "vfat", "A"}, {"sda2", "ext4", "B"}});
    EXPECT_THAT(KernelDoor::calls(), Not(Contains(StartsWith("umount"))));
    EXPECT_THAT(moves(), ElementsAre(moved("sda1", "C:"), moved("sda2", "D:")));
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

struct OrderRow
{
    const char* story;
    bool isInternal;
    bool hasMap;
    const char* uuid;
    const char* toMount;
    const char* forTheMap;
};

class QuestionsTest : public StartUpTest, public testing::WithParamInterface<OrderRow>
{
};

TEST_P(QuestionsTest, AreAskedWhenTheAnswerIsNeededAndInThisOrder)
{
    LogWatch::begin(Vorna::Warning);
    if (GetParam().hasMap) {
        writeMap("[disk]\nPartition1=[1234ABCD]C:\n");
    } else {
        LogWatch::expect("Drives file NOT found! ");
    }
    const QMap<QString, QVariant> properties = {
        {QStringLiteral("DeviceFile"), QStringLiteral("/dev/sda1")},
        {QStringLiteral("DeviceIsPartition"), true},
        {QStringLiteral("DeviceIsSystemInternal"), GetParam().isInternal},
        {QStringLiteral("DeviceMajor"), qlonglong{8}},
        {QStringLiteral("DeviceMountPaths"),
         QStringList({QStringLiteral("/media/C:"), QStringLiteral("/media/D:")})},
        {QStringLiteral("IdType"), QStringLiteral("ntfs")},
        {QStringLiteral("IdUsage"), QStringLiteral("filesystem")},
        {QStringLiteral("IdUuid"), QString::fromLatin1(GetParam().uuid)},
    };
    QStringList asked;
    const ScriptedUDisks devices({QStringLiteral("sda1")}, [&](const QString& property) {
        asked += property;
        return properties.value(property);
    });
    DriveManager::instance()->startUp();
    EXPECT_EQ(asked.join(QLatin1Char(' ')).toStdString(),
              std::string("DeviceMajor DeviceIsPartition ") + GetParam().toMount + " DeviceMountPaths " +
                  GetParam().forTheMap +
                  "DeviceFile IdLabel DeviceFile IdType DeviceMountPaths IdType DeviceFile");
}

INSTANTIATE_TEST_SUITE_P(
    DriveManager, QuestionsTest,
    testing::Values(
        OrderRow{"Internal", true, true, "01D2A3B4C5D6E7F8", "IdType DeviceIsSystemInternal DeviceFile",
                 "IdUuid IdType "},
        OrderRow{"External", false, true, "01D2A3B4C5D6E7F8",
                 "IdType DeviceIsSystemInternal IdUsage DeviceFile IdLabel IdUuid", "IdUuid IdType "},
        OrderRow{"WithoutUuid", true, true, "", "IdType DeviceIsSystemInternal DeviceFile", "IdUuid "},
        OrderRow{"WithoutMap", true, false, "01D2A3B4C5D6E7F8", "IdType DeviceIsSystemInternal DeviceFile",
                 ""}),
    [](const auto& row) { return row.param.story; });

TEST_F(StartUpTest, EndsWhenAStopWasAskedFor)
{
    const MachineProvider devices(machine({{"sda1", "ext4", "A"}}));
    DriveManager* manager = DriveManager::instance();
    StopRequest::make();
    LogWatch::expect("Drives file NOT found! ");
    manager->startUp();
    EXPECT_THAT(KernelDoor::calls(), IsEmpty());
    EXPECT_THAT(LogWatch::messages(7), Not(Contains(StartsWith("\"Device to add"))));
}

} // namespace
