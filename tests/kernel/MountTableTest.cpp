#include <cstdio>
#include <fstream>
#include <system_error>

#include <gmock/gmock.h>

#include <sys/sysmacros.h>

#include "kernel/MountTable.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

constexpr const char* Table = "20 1 0:5 / / rw - tmpfs tmpfs rw\n"
                              "21 20 8:1 / /mnt/sda1 rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
                              "22 20 8:1 /sub /mnt/part rw - ext4 /dev/sda1 rw\n"
                              "23 20 8:1 / /media/a\\040b rw - ext4 /dev/sda1 rw\n"
                              "24 20 8:1 / /media/a rw - ext4 /dev/sda1 rw\n"
                              "25 20 8:1 / /media/\xc3\xbc rw - ext4 /dev/sda1 rw\n"
                              "26 20 8:17 / /media/C: rw - fuseblk /dev/sdb1 rw\n"
                              "27 20 0:40 / /media/pool rw - btrfs /dev/sdc1 rw\n"
                              "28 20 0:40 /home /home rw - btrfs /dev/sdc1 rw\n"
                              "29 20 0:41 / /media/named rw - tmpfs /dev/sdc1 rw\n";

std::vector<std::string> pathsOf(dev_t number, const char* node)
{
    const TemporaryDirectory directory;
    const std::string file = directory.path() + "/mountinfo";
    std::ofstream(file) << Table;
    std::vector<std::string> result;
    for (const QString& path : MountTable(file).mountPaths(number, QString::fromLatin1(node))) {
        result.push_back(path.toStdString());
    }
    return result;
}

} // namespace

using testing::ElementsAre;

TEST(MountTableTest, FindsWholeFileSystemsByNumberInDescendingByteOrder)
{
    EXPECT_THAT(pathsOf(makedev(8, 1), "/dev/sda1"),
                ElementsAre("/mnt/sda1", "/media/\xc3\xbc", "/media/a b", "/media/a"));
    EXPECT_THAT(pathsOf(makedev(8, 17), "/dev/elsewhere"), ElementsAre("/media/C:"));
}

TEST(MountTableTest, FindsBtrfsAndNothingElseByItsNode)
{
    EXPECT_THAT(pathsOf(makedev(8, 33), "/dev/sdc1"), ElementsAre("/media/pool"));
}

TEST(MountTableTest, FindsNothingForADeviceThatIsNotMountedOrHasNoNumberOrWithoutATable)
{
    EXPECT_THAT(pathsOf(0, "/dev/sdc1"), testing::IsEmpty());
    EXPECT_THAT(pathsOf(makedev(8, 2), "/dev/sda2"), testing::IsEmpty());
    EXPECT_TRUE(MountTable("/nonexistent").mountPaths(makedev(8, 1), QString()).isEmpty());
}

TEST(MountTableTest, SaysWhyItCannotBeRead)
{
    MountTable table("/nonexistent");
    try {
        table.read();
        FAIL() << "no exception";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
        EXPECT_STREQ(error.what(), "cannot read /nonexistent: No such file or directory");
    }
}

TEST(MountTableTest, IsReadAgainAtEveryQuestion)
{
    const TemporaryDirectory directory;
    const std::string file = directory.path() + "/mountinfo";
    MountTable table(file);
    EXPECT_EQ(table.mounts().size(), 0U);
    std::ofstream(file) << Table;
    EXPECT_EQ(table.mounts().size(), 10U);
    std::ofstream(file) << "20 1 0:5 / /other rw - tmpfs tmpfs rw\n";
    ASSERT_EQ(table.mounts().size(), 1U);
    EXPECT_EQ(table.mounts()[0].target, "/other");
    std::remove(file.c_str());
    EXPECT_EQ(table.mounts().size(), 0U);
    std::ofstream(file) << "20 1 0:5 / /other rw - tmpfs tmpfs rw\n";
    EXPECT_EQ(table.mounts().size(), 1U);
}
