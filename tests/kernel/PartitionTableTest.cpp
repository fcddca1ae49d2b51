#include <filesystem>

#include <fcntl.h>

#include <gmock/gmock.h>

#include "kernel/Descriptor.h"
#include "kernel/PartitionTable.h"
#include "tests/support/Files.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryDirectory.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class PartitionTableTest : public testing::Test
{
protected:
    /// A disk with a table that sfdisk makes of its lines.
    PartitionTable tableOf(const std::string& lines)
    {
        Files::write(disk, "");
        std::filesystem::resize_file(disk, 64 << 20);
        Files::write(disk + ".table", lines);
        const ProcessResult made = runProgram(
            {"sh", "-c", R"(PATH=$PATH:/sbin:/usr/sbin; exec sfdisk --quiet "$0" <"$0.table")", disk});
        EXPECT_EQ(made.status, 0) << made.output;
        return read();
    }
    PartitionTable read() const
    {
        const Descriptor file = openFile(disk, O_RDONLY);
        return PartitionTableReader(file.get()).read();
    }

    TemporaryDirectory directory;
    const std::string disk = directory.path() + "/disk";
};

/// "number offset uuid" for each partition.
std::vector<std::string> partitionsOf(const PartitionTable& table)
{
    std::vector<std::string> result;
    for (const PartitionTable::Entry& entry : table.entries) {
        result.push_back(std::to_string(entry.number) + " " + std::to_string(entry.offset) + " " +
                         entry.uuid.toStdString());
    }
    return result;
}

TEST_F(PartitionTableTest, OfAnMbrCountsLogicalPartitionsFromFive)
{
    const PartitionTable table = tableOf("label: dos\nlabel-id: 0x1234ABCD\n"
                                         "start=2048,size=2048,type=7\nstart=8192,size=40960,type=5\n"
                                         "start=10240,size=2048,type=7\nstart=14336,size=2048,type=7\n");
    EXPECT_EQ(table.type, QStringLiteral("dos"));
    EXPECT_EQ(table.uuid, QStringLiteral("1234abcd"));
    EXPECT_THAT(partitionsOf(table), ElementsAre("1 1048576 1234abcd-01", "2 4194304 1234abcd-02",
                                                 "5 5242880 1234abcd-05", "6 7340032 1234abcd-06"));
}

TEST_F(PartitionTableTest, OfAGptHasTheGuidsOfItsPartitions)
{
    const PartitionTable table =
        tableOf("label: gpt\nlabel-id: 11111111-2222-3333-4444-555555555555\n"
                "2 : start=4096,size=2048,uuid=0123ABCD-1122-3344-5566-778899AABBCC\n");
    EXPECT_EQ(table.type, QStringLiteral("gpt"));
    EXPECT_EQ(table.uuid, QStringLiteral("11111111-2222-3333-4444-555555555555"));
    EXPECT_THAT(partitionsOf(table), ElementsAre("2 2097152 0123abcd-1122-3344-5566-778899aabbcc"));
}

TEST_F(PartitionTableTest, IsEmptyOnABlankDisk)
{
    Files::write(disk, std::string(1 << 20, '\0'));
    const PartitionTable table = read();
    EXPECT_EQ(table.type, QString());
    EXPECT_THAT(table.entries, IsEmpty());
}

TEST_F(PartitionTableTest, CannotBeReadFromWhatIsNotADisk)
{
    EXPECT_THROW(PartitionTableReader(-1), std::system_error);
    const Descriptor pipe = openFile("/dev/null", O_RDONLY);
    EXPECT_THROW(PartitionTableReader(pipe.get()), std::system_error);
}

} // namespace
