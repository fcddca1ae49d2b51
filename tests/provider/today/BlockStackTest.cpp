#include "kernel/BlockStack.h"

#include <fstream>

#include <gmock/gmock.h>

#include <sys/sysmacros.h>

#include "tests/provider/today/FakeSysfs.h"

using testing::ElementsAre;
using testing::IsEmpty;

/// A disk with two partitions, one of which cannot be written.
class BlockStackTest : public testing::Test
{
protected:
    BlockStackTest()
    {
        sysfs.addDisk("sda", "8:0");
        sysfs.addPartition("sda", "sda1", "8:1");
        sysfs.addPartition("sda", "sda2", "8:2");
        std::ofstream(sysfs.path() + "/devices/sda/sda1/size") << "2048\n";
        std::ofstream(sysfs.path() + "/devices/sda/sda1/ro") << "1\n";
        std::ofstream(sysfs.path() + "/devices/sda/sda2/ro") << "0\n";
    }

    FakeSysfs sysfs;
    const BlockStack blocks{Sysfs(sysfs.path())};
};

TEST_F(BlockStackTest, KnowsADiskFromItsPartitions)
{
    EXPECT_THAT(blocks.partitionsOf(makedev(8, 0)), ElementsAre(makedev(8, 1), makedev(8, 2)));
    EXPECT_THAT(blocks.partitionsOf(makedev(8, 1)), IsEmpty());
    EXPECT_FALSE(blocks.isPartition(makedev(8, 0)));
    EXPECT_TRUE(blocks.isPartition(makedev(8, 1)));
}

TEST_F(BlockStackTest, KnowsSizesAndWhatCannotBeWritten)
{
    EXPECT_EQ(blocks.bytesOf(makedev(8, 1)), 1048576U);
    EXPECT_EQ(blocks.bytesOf(makedev(8, 2)), 0U);
    EXPECT_TRUE(blocks.isReadOnly(makedev(8, 1)));
    EXPECT_FALSE(blocks.isReadOnly(makedev(8, 2)));
    EXPECT_FALSE(blocks.isReadOnly(makedev(8, 0)));
}

TEST_F(BlockStackTest, SaysNothingOfADeviceThatIsGone)
{
    // Their path is empty, and below it lies all of sysfs.
    std::ofstream(sysfs.path() + "/partition") << "1\n";
    std::ofstream(sysfs.path() + "/ro") << "1\n";
    std::ofstream(sysfs.path() + "/size") << "8\n";
    const dev_t gone = makedev(8, 99);
    EXPECT_FALSE(blocks.isPartition(gone));
    EXPECT_FALSE(blocks.isReadOnly(gone));
    EXPECT_EQ(blocks.bytesOf(gone), 0U);
    EXPECT_THAT(blocks.partitionsOf(gone), IsEmpty());
}
