#include <gmock/gmock.h>

#include "map/MapText.h"
#include "tests/map/Volumes.h"

using namespace Volumes;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

Volume withUuid(const char* name, const char* type, const char* uuid)
{
    Volume volume = ntfs(name);
    volume.type = QLatin1String(type);
    volume.uuid = QLatin1String(uuid);
    return volume;
}

TEST(MapText, BeginsWithTheLettersThatNobodyElseGets)
{
    const std::vector<Volume> volumes{withUuid("sda1", "ntfs", "01D2A3B4C5D6E7F8"),
                                      withUuid("sda2", "vfat", "1234-ABCD"), ntfs("sda3")};
    EXPECT_EQ(MapText::of({{'C', 0, {}}, {'E', -1, {}}, {'F', 1, {}}}, volumes, QStringLiteral("/dev/sda1")),
              QByteArray("; Written by vrdrivesmap from the registry of the Windows on /dev/sda1.\n"
                         "[Windows]\n"
                         "Partition1=[FFFFFFFF]C:\n"
                         "Partition2=[FFFFFFFF]D:\n"
                         "Partition3=[FFFFFFFF]E:\n"
                         "Partition4=[FFFFFFFF]F:\n"
                         "Partition5=[C5D6E7F8]C:\n"
                         "Partition6=[1234ABCD]F:\n"));
}

TEST(MapText, GivesAPartitionItsLettersInOneRecord)
{
    const std::vector<Volume> volumes{withUuid("sda1", "ntfs", "01D2A3B40000002A")};
    const QByteArray map = MapText::of({{'A', 0, {}}, {'B', 0, {}}}, volumes, QStringLiteral("x"));
    EXPECT_THAT(map.split('\n').mid(2), ElementsAre("Partition1=\"[0000002A]A:;B:\"", ""));
}

TEST(MapText, KeepsLettersByAVolumeIdThatNoPartitionHas)
{
    const std::vector<Volume> volumes{withUuid("sda1", "ntfs", "01D2A3B4FFFFFFFF"),
                                      withUuid("sda2", "vfat", "FFFF-FFFE")};
    EXPECT_TRUE(MapText::of({{'C', 0, {}}}, volumes, QStringLiteral("x"))
                    .contains("Partition1=[FFFFFFFD]C:\nPartition2=[FFFFFFFF]C:\n"));
}

TEST(MapText, KeepsAllLettersWhereThoseBehindTheHighestMightNotDo)
{
    const std::vector<Volume> volumes{ntfs("sda1"), ntfs("sda2"), ntfs("sda3")};
    const auto lettersOf = [&](char highest) {
        return MapText::of({{'A', 0, {}}, {highest, -1, {}}}, volumes, QStringLiteral("x")).count(":\n") - 1;
    };
    EXPECT_EQ(lettersOf('X'), 'X' - 'C' + 1) << "two are left for two";
    EXPECT_EQ(lettersOf('Y'), 'Z' - 'C' + 1) << "one is left for two";
    EXPECT_EQ(lettersOf('Z'), 'Z' - 'C' + 1);
    EXPECT_EQ(lettersOf('B'), 0);
}

TEST(MapText, IsEmptyWhereNoPartitionGetsALetter)
{
    EXPECT_EQ(MapText::of({{'C', -1, {}}}, {ntfs("sda1")}, QStringLiteral("x")), QByteArray());
    EXPECT_EQ(MapText::of({}, {ntfs("sda1")}, QStringLiteral("x")), QByteArray());
}

TEST(MapText, NamesTheWindowsInOneLineWhateverItIsCalled)
{
    const QByteArray map = MapText::of({{'A', 0, {}}}, {ntfs("sda1")}, QStringLiteral("x\n[Evil]\n"));
    EXPECT_TRUE(map.startsWith("; Written by vrdrivesmap from the registry of the Windows on "
                               "x\\x0a[Evil]\\x0a.\n[Windows]\nPartition1="));
}

std::vector<std::string> records(const char* map)
{
    std::vector<std::string> result;
    for (const MapText::Record& record : MapText::recordsOf(map)) {
        result.push_back(std::to_string(record.volumeId) + " " + record.letter.toStdString());
    }
    return result;
}

TEST(MapText, ReadsTheRecordsOfAForeignMap)
{
    EXPECT_THAT(records("[Disk0]\r\nSerial=x\r\nPartition1=[0000002A]C:\\\r\n"
                        " Partition2 = \"[1234abcd]D:;E:\"\r\nPartition3=[00000001]\r\nPartition4=F:\r\n"),
                ElementsAre("42 C:", "305441741 D:"));
    EXPECT_THAT(records("\xef\xbb\xbf\0\n\n=[[[Partition1=[0000002A]C:"), IsEmpty());
}

} // namespace
