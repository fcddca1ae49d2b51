#include <cerrno>
#include <filesystem>

#include <gmock/gmock.h>

#include "drives/DeviceProperties.h"
#include "drives/LetterArrangement.h"
#include "drives/MountRoot.h"
#include "tests/drives/ArrangedPartitions.h"
#include "tests/support/KernelDoor.h"
#include "tests/support/LogWatch.h"
#include "tests/support/MachineProvider.h"
#include "tests/support/ScriptedUDisks.h"

namespace fs = std::filesystem;
using namespace ArrangedPartitions;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct KeyRow
{
    const char* type;
    const char* uuid;
    const char* key;
};

TEST(LetterArrangement, TakesTheMatchKeyFromTheUuid)
{
    for (const KeyRow& row : {KeyRow{"ntfs", "01D2A3B4C5D6E7F8", "C5D6E7F8"},
                              {"ntfs", "01D2A3B4", ""},
                              {"ntfs", "01D2A3B4C", "C"},
                              {"vfat", "1234-ABCD", "1234ABCD"},
                              {"vfat", "12", "12"},
                              {"ext4", "0f1e2d3c-4b5a", ""},
                              {"ntfs-vfat", "0123456789", "89"}}) {
        EXPECT_EQ(LetterArrangement::matchKey(QString::fromLatin1(row.type), QString::fromLatin1(row.uuid)),
                  QString::fromLatin1(row.key))
            << row.type << " " << row.uuid;
    }
}

TEST(LetterArrangement, KnowsASystemLabelInAnyCase)
{
    for (const char* label : {"System", "System Reserved", "SYSTEM", "my system"}) {
        EXPECT_TRUE(LetterArrangement::isSystemLabel(QString::fromLatin1(label))) << label;
    }
    EXPECT_FALSE(LetterArrangement::isSystemLabel(QStringLiteral("Sys")));
    EXPECT_FALSE(LetterArrangement::isSystemLabel(QString()));
}

class LetterArrangementTest : public testing::Test
{
protected:
    LetterArrangementTest()
    {
        KernelDoor::reset();
        temporaryRoot.create();
        finalRoot.create();
    }

    /// Where each of the partitions is mounted then.
    std::vector<std::string> arrange(const std::vector<ArrangedPartition>& partitions)
    {
        const MachineProvider devices(machine(partitions));
        LetterArrangement letters(temporaryRoot, finalRoot);
        std::vector<std::string> result;
        for (const ArrangedPartition& partition : partitions) {
            const QString path = ScriptedUDisks::objectPath(QString::fromStdString(partition.node));
            result.push_back(letters.arrange(DeviceProperties(QDBusObjectPath(path))).toStdString());
        }
        return result;
    }
    std::vector<std::string> arrangeWithoutMap(const std::vector<ArrangedPartition>& partitions)
    {
        LogWatch::expect("Drives file NOT found! ");
        return arrange(partitions);
    }

    MountRoot temporaryRoot{QStringLiteral("/mnt/")};
    MountRoot finalRoot{QStringLiteral("/media/")};
};

TEST_F(LetterArrangementTest, MovesAPartitionToItsLetterAndRemovesItsTemporaryDirectory)
{
    fs::create_directories("/mnt/sda1");
    EXPECT_THAT(arrangeWithoutMap({{"sda1", "ext4", "Linux"}}), ElementsAre("/media/C:"));
    EXPECT_THAT(KernelDoor::calls(), ElementsAre(moved("sda1", "C:")));
    EXPECT_THAT(LogWatch::messages(7), ElementsAre("\"--move  ->  C:\" "));
    EXPECT_TRUE(fs::is_directory("/media/C:"));
    EXPECT_FALSE(fs::exists("/mnt/sda1"));
}

TEST_F(LetterArrangementTest, LeavesAPartitionWhereItIsWhenItsMoveFailsAndSaysNothing)
{
    fs::create_directories("/mnt/sda1");
    KernelDoor::answer("mount(/mnt/sda1", -1, EINVAL);
    EXPECT_THAT(arrangeWithoutMap({{"sda1", "ext4", "Linux"}}), ElementsAre(""));
    EXPECT_THAT(LogWatch::messages(7), IsEmpty());
    EXPECT_FALSE(fs::exists("/media/C:"));
    EXPECT_TRUE(fs::is_directory("/mnt/sda1"));
}

TEST_F(LetterArrangementTest, GivesTwoWindowsInstallationsTwoLetters)
{
    fs::create_directories("/mnt/sda1/Windows");
    fs::create_directories("/mnt/sda2/Windows");
    EXPECT_THAT(
        arrangeWithoutMap({{"sda1", "ntfs", "OS"}, {"sda2", "ntfs", "Other"}, {"sda3", "ext4", "Linux"}}),
        ElementsAre("/media/C:", "/media/D:", "/media/E:"));
    EXPECT_THAT(moves(), ElementsAre(moved("sda1", "C:"), moved("sda2", "D:"), moved("sda3", "E:")));
}

TEST_F(LetterArrangementTest, StacksASecondSystemPartitionOnTheFirst)
{
    EXPECT_THAT(arrangeWithoutMap({{"sda1", "ext4", "SYSTEM"}, {"sda2", "ext4", "my system"}}),
                ElementsAre("/media/system-reserved", "/media/system-reserved"));
    EXPECT_THAT(moves(), ElementsAre(moved("sda1", "system-reserved"), moved("sda2", "system-reserved")));
}

TEST_F(LetterArrangementTest, GivesASystemPartitionWithWindowsALetterLikeAnyOther)
{
    fs::create_directories("/mnt/sda1/Windows");
    EXPECT_THAT(arrangeWithoutMap({{"sda1", "ext4", "System"}}), ElementsAre("/media/C:"));
}

TEST_F(LetterArrangementTest, GivesTheLettersOfTheDrivesMapByVolumeId)
{
    writeMap("[disk]\nPartition1=[1234ABCD]C:\\\nPartition2=[C5D6E7F8]D:\\\n");
    EXPECT_THAT(arrange({{"sda1", "vfat", "A", "1234-ABCD"},
                         {"sda2", "ntfs", "B", "01D2A3B4C5D6E7F8"},
                         {"sda3", "ext4", "C"}}),
                ElementsAre("/media/C:", "/media/D:", "/media/E:"));
}

TEST_F(LetterArrangementTest, PrefersTheLetterOfTheMapForASystemPartition)
{
    writeMap("[disk]\nPartition1=[1234ABCD]S:\n");
    EXPECT_THAT(arrange({{"sda1", "vfat", "System", "1234-ABCD"}}), ElementsAre("/media/S:"));
}

TEST_F(LetterArrangementTest, AdvancesTheRunningLetterOnlyByTheOrderOfTheMap)
{
    writeMap("[disk]\nPartition1=[000000D1]D:\nPartition2=[000000C1]C:\n");
    EXPECT_THAT(arrange({{"sda1", "vfat", "A", "0000-00D1"},
                         {"sda2", "vfat", "B", "0000-00FF"},
                         {"sda3", "vfat", "C", "0000-00C1"}}),
                ElementsAre("/media/D:", "/media/E:", "/media/C:"));
}

TEST_F(LetterArrangementTest, DoesNotLookUpAnNtfsPartitionWithAShortUuid)
{
    writeMap("[disk]\nPartition1=[00000000]Q:\n");
    EXPECT_THAT(arrange({{"sda1", "ntfs", "A", "12345678"}, {"sda2", "ext4", "B", "0"}}),
                ElementsAre("/media/C:", "/media/D:"));
}

TEST_F(LetterArrangementTest, DoesNotLookUpAPartitionWithoutAUuid)
{
    writeMap("[disk]\nPartition1=K:\n");
    EXPECT_THAT(arrange({{"sda1", "ntfs", "A", ""}, {"sda2", "vfat", "B", ""}}),
                ElementsAre("/media/C:", "/media/D:"));
}

TEST_F(LetterArrangementTest, TakesAMapLetterThatExistsAlready)
{
    fs::create_directories("/media/Q:");
    writeMap("[disk]\nPartition1=[1234ABCD]Q:\n");
    EXPECT_THAT(arrange({{"sda1", "vfat", "A", "1234-ABCD"}}), ElementsAre("/media/Q:"));
}

TEST_F(LetterArrangementTest, FailsSilentlyOnAMapLetterThatWouldLeaveTheRoot)
{
    fs::create_directories("/mnt/sda1");
    writeMap("[disk]\nPartition1=[1234ABCD]C:/Windows\nPartition2=[1234ABCE]..\nPartition3=[1234ABCF]\n");
    EXPECT_THAT(arrange({{"sda1", "vfat", "A", "1234-ABCD"},
                         {"sda2", "vfat", "B", "1234-ABCE"},
                         {"sda3", "vfat", "C", "1234-ABCF"}}),
                ElementsAre("", "", "/media/D:"));
    EXPECT_THAT(moves(), ElementsAre(moved("sda3", "D:")));
    EXPECT_TRUE(fs::is_directory("/mnt/sda1"));
}

TEST_F(LetterArrangementTest, HandsOutTheLastLetterAgainWhenAllAreTaken)
{
    for (char letter = 'C'; letter <= 'Z'; ++letter) {
        fs::create_directory(std::string("/media/") + letter + ":");
    }
    EXPECT_THAT(arrangeWithoutMap({{"sda1", "ext4", "A"}, {"sda2", "ext4", "B"}}),
                ElementsAre("/media/Z:", "/media/Z:"));
}

TEST_F(LetterArrangementTest, NeverMovesTheTemporaryRootItself)
{
    EXPECT_THAT(arrangeWithoutMap({{"sda1", "ext4", "A", "x", {{"DeviceFile:missing", ""}}}}),
                ElementsAre(""));
    EXPECT_THAT(KernelDoor::calls(), IsEmpty());
}

} // namespace
