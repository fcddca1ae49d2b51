#include "kernel/FileSystemDrivers.h"

#include <fstream>

#include <gmock/gmock.h>

#include "tests/support/TemporaryDirectory.h"

TEST(FileSystemDriversTest, AreThoseOfTheKernelAndThoseOfItsModules)
{
    const TemporaryDirectory directory;
    const std::string list = directory.path() + "/filesystems";
    const std::string aliases = directory.path() + "/modules.alias";
    std::ofstream(list) << "nodev\ttmpfs\n\text4\n\text3\n";
    std::ofstream(aliases)
        << "# made by depmod\nalias fs-vfat vfat\nalias fs-xfs xfs\nalias symbol:hfs hfs\n";
    for (const char* type : {"ext4", "ext3", "vfat", "xfs"}) {
        EXPECT_TRUE(FileSystemDrivers::contain(type, list, aliases)) << type;
    }
    for (const char* type : {"ext", "ext2", "tmpfs", "hfs", "vfa", "", "vfat vfat"}) {
        EXPECT_FALSE(FileSystemDrivers::contain(type, list, aliases)) << type;
    }
    EXPECT_TRUE(FileSystemDrivers::contain("ext4", list, "/nowhere"));
    EXPECT_FALSE(FileSystemDrivers::contain("ext4", "/nowhere", "/nowhere"));
}
