#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include <QFile>

#include "drives/WindowsDrives.h"
#include "tests/support/LogWatch.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string Map = "/mounts/sda2/Program Files/Vorna/drives.ini";

void writeMap(const std::string& content)
{
    fs::create_directories(fs::path(Map).parent_path());
    std::ofstream(Map, std::ios::binary) << content;
}

/// "number volumeId serial letters" of each partition of the map.
std::vector<std::string> partitionsOf(const std::string& map)
{
    writeMap(map);
    std::vector<std::string> result;
    const WindowsDrives drives;
    for (const WindowsDrives::Partition& partition : drives.partitions()) {
        result.push_back(std::to_string(partition.number) + " " + std::to_string(partition.volumeId) + " " +
                         partition.serial.toStdString() + " " +
                         partition.letters.join(QLatin1Char('/')).toStdString());
    }
    return result;
}

TEST(WindowsDrives, WarnsWhenThereIsNoMap)
{
    LogWatch::expect("Drives file NOT found! ");
    WindowsDrives drives;
    EXPECT_FALSE(drives.drivesIniExist());
    EXPECT_THAT(drives.partitions(), IsEmpty());
    EXPECT_FALSE(fs::exists("/tmp/drives.ini"));
}

TEST(WindowsDrives, CopiesTheMapWithoutBackslashesAndLeavesTheCopy)
{
    writeMap("[disk]\r\nPartition1=[0000002A]C:\\\r\n");
    {
        WindowsDrives drives;
        EXPECT_TRUE(drives.drivesIniExist());
        EXPECT_THAT(drives.partitions(), testing::SizeIs(1));
    }
    QFile copy(QStringLiteral("/tmp/drives.ini"));
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), QByteArray("[disk]\r\nPartition1=[0000002A]C:\r\n"));
    EXPECT_THAT(LogWatch::messages(7), testing::Contains("\"Drives file found: " + Map + "\" "));
}

struct FormatRow
{
    const char* story;
    const char* map;
    std::vector<std::string> partitions;
};

class MapFormatTest : public testing::TestWithParam<FormatRow>
{
};

TEST_P(MapFormatTest, IsRead)
{
    EXPECT_EQ(partitionsOf(GetParam().map), GetParam().partitions);
}

INSTANTIATE_TEST_SUITE_P(
    WindowsDrives, MapFormatTest,
    testing::Values(
        FormatRow{"VolumeIdAndLetter", "[d]\nSerial=S1\nPartition1=[0000002A]C:\n", {"1 42 S1 C:"}},
        FormatRow{
            "SeveralLetters", "[d]\nSerial=S1\nPartition1=\"[0A1B2C3D]C:;E:\"\n", {"1 169552957 S1 C:/E:"}},
        FormatRow{"LettersAlone", "[d]\nPartition1=\"C:;;D:\"\n", {"1 0  C:/D:"}},
        FormatRow{"UnquotedSemicolonEndsTheValue", "[d]\nPartition1=[0000002A]C:;E:\n", {"1 42  C:"}},
        FormatRow{"UnquotedCommaLeavesNoText", "[d]\nPartition1=C:,D:\nPartition2=E:\n", {}},
        FormatRow{"MalformedVolumeId", "[d]\nPartition1=[xyzw002A]C:\n", {"1 0  C:"}},
        FormatRow{"TheClosingBracketIsNotChecked", "[d]\nPartition1=[0000002AxC:\n", {"1 42  C:"}},
        FormatRow{"NoLetters", "[d]\nPartition1=[0000002A]\n", {"1 42  "}},
        FormatRow{"ShortValue", "[d]\nPartition1=[2A\n", {"1 42  "}},
        FormatRow{"AGapEndsTheSection", "[d]\nPartition1=C:\nPartition3=D:\n", {"1 0  C:"}},
        FormatRow{"NumbersBeginAtOne", "[d]\nPartition0=C:\nPartition2=D:\n", {}},
        FormatRow{"AnEmptyValueEndsTheSection", "[d]\nPartition1=\nPartition2=D:\n", {}},
        FormatRow{"KeysAreCaseSensitive", "[d]\npartition1=C:\nserial=x\n", {}},
        FormatRow{"SectionsComeSorted",
                  "[b]\nPartition1=D:\n[a]\nSerial=A\nPartition1=C:\nPartition2=E:\n",
                  {"1 0 A C:", "2 0 A E:", "1 0  D:"}},
        FormatRow{
            "SectionsOfOneNameMerge", "[a]\nPartition1=C:\n[a]\nPartition2=D:\n", {"1 0  C:", "2 0  D:"}},
        FormatRow{"TheGeneralSectionIsNotListed", "[General]\nPartition1=C:\n", {}},
        FormatRow{"KeysWithoutASection", "Partition1=C:\n", {}}, FormatRow{"Empty", "", {}},
        FormatRow{"BrokenLines", "[d\nPartition1\n=\n]]\n[\nPartition2=D:\n", {}}),
    [](const auto& row) { return row.param.story; });

TEST(WindowsDrives, ReadsEveryPartitionOfEverySectionOfALargeMap)
{
    std::string map;
    std::vector<std::string> expected;
    for (int disk = 10; disk < 60; ++disk) {
        map += "[disk" + std::to_string(disk) + "]\nSerial=S" + std::to_string(disk) + "\n";
        for (int number = 1; number <= 12; ++number) {
            const std::string letter = std::string(1, static_cast<char>('B' + number)) + ":";
            const int volumeId = disk * 100 + number;
            map += "Partition" + std::to_string(number) + "=[0000" + std::to_string(volumeId) + "]" + letter +
                   "\n";
            expected.push_back(std::to_string(number) + " " +
                               std::to_string(std::stoi(std::to_string(volumeId), nullptr, 16)) + " S" +
                               std::to_string(disk) + " " + letter);
        }
    }
    EXPECT_EQ(partitionsOf(map), expected);
}

TEST(WindowsDrives, WritesEachPartitionToTheLog)
{
    EXPECT_THAT(partitionsOf("[d]\nSerial=S%201\nPartition1=\"[0000002A]C:;E:\"\n"), testing::SizeIs(1));
    EXPECT_THAT(LogWatch::messages(7),
                testing::Contains("\"Partition [1]: volume id(42) serial(S%201) letters(C:/E:)\" "));
}

TEST(WindowsDrives, StreamsAPartitionWithTheLastBlankOfTheLog)
{
    WindowsDrives::Partition partition;
    partition.number = 3;
    partition.letters = QStringList{QStringLiteral("C:")};
    qDebug() << partition;
    EXPECT_THAT(LogWatch::messages(7), ElementsAre("\"Partition [3]: volume id(0) serial() letters(C:)\" "));
}

TEST(WindowsDrives, SurvivesAMegabyteOfNoise)
{
    std::string noise(1048576, '\0');
    unsigned state = 1;
    for (char& byte : noise) {
        state = state * 1103515245U + 12345U;
        byte = static_cast<char>(state >> 16U);
    }
    writeMap(noise);
    WindowsDrives drives;
    EXPECT_TRUE(drives.drivesIniExist());
    drives.partitions();
}

TEST(WindowsDrives, TakesOneMapOfTwoInOneProgramDirectory)
{
    writeMap("[disk]\nPartition1=C:\n");
    const fs::path inner = fs::path(Map).parent_path() / "inner/drives.ini";
    fs::create_directories(inner.parent_path());
    std::ofstream(inner) << "[disk]\nPartition1=D:\n";
    const WindowsDrives drives;
    const auto partitions = drives.partitions();
    ASSERT_THAT(partitions, testing::SizeIs(1));
    const std::string taken =
        partitions.first().letters == QStringList(QStringLiteral("C:")) ? Map : inner.string();
    EXPECT_THAT(LogWatch::messages(7), testing::Contains("\"Drives file found: " + taken + "\" "));
    EXPECT_THAT(LogWatch::messages(7), testing::SizeIs(2)) << "the map and its one partition";
}

TEST(WindowsDrives, HasNoPartitionsWhenThereIsNoPlaceForTheCopy)
{
    writeMap("[new]\nPartition1=D:\n");
    fs::create_directories("/tmp/drives.ini/not a file");
    WindowsDrives drives;
    EXPECT_TRUE(drives.drivesIniExist());
    EXPECT_THAT(drives.partitions(), IsEmpty());
}

TEST(WindowsDrives, TracesItsOperations)
{
    LogWatch::expect("Drives file NOT found! ");
    {
        WindowsDrives drives;
        drives.drivesIniExist();
        drives.partitions();
    }
    EXPECT_THAT(LogWatch::messages(10),
                ElementsAre(testing::EndsWith("]WindowsDrives"), testing::EndsWith("]drivesIniExist"),
                            testing::EndsWith("]partitions"), testing::EndsWith("]~WindowsDrives")));
    EXPECT_EQ(LogWatch::lines().front().source, "WindowsDrives.cpp");
}

} // namespace
