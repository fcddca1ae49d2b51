#include "client/survey/MountedDrive.h"

#include <gmock/gmock.h>

#include <sys/sysmacros.h>

namespace {

class MountedDriveTest : public testing::Test
{
protected:
    static std::vector<MountedDrive> read(const std::string& lines)
    {
        const QByteArray root = "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n";
        return MountedDrives::among(MountInfo::parse(root + QByteArray::fromStdString(lines)));
    }

    static std::vector<std::string> directories(const std::string& lines)
    {
        std::vector<std::string> result;
        for (const MountedDrive& drive : read(lines)) {
            result.push_back(drive.directory);
        }
        return result;
    }
};

TEST_F(MountedDriveTest, ListsWhatIsMountedBelowTheRootsSortedByDirectory)
{
    EXPECT_THAT(directories("36 22 8:17 / /mnt/sdb1 rw - ext4 /dev/sdb1 rw\n"
                            "35 22 8:18 / /media/D: rw - fuseblk /dev/sdb2 rw\n"
                            "34 22 8:19 / /home rw - ext4 /dev/sdb3 rw\n"
                            "33 22 8:20 / /mntx rw - ext4 /dev/sdb4 rw\n"
                            "32 22 8:21 / /media/C:/deep rw - ext4 /dev/sdb5 rw\n"
                            "31 22 8:22 / /media/C: rw - fuseblk /dev/sdb6 rw\n"
                            "30 22 0:40 / /run/media/x rw - tmpfs none rw\n"),
                testing::ElementsAre("/media/C:", "/media/C:/deep", "/media/D:", "/mnt/sdb1"));
}

TEST_F(MountedDriveTest, ListsARootOnlyWhereAMediumLiesOverIt)
{
    EXPECT_THAT(directories("30 22 8:17 / /media rw - vfat /dev/sdb1 rw\n"), testing::ElementsAre("/media"));
    EXPECT_THAT(directories("30 22 8:17 / /mnt rw - vfat /dev/sdb1 rw\n"), testing::ElementsAre("/mnt"));
    EXPECT_THAT(directories("30 22 8:1 /mnt /mnt rw - ext4 /dev/sda1 rw\n"), testing::IsEmpty());
    EXPECT_THAT(directories("30 22 0:40 / /media rw - tmpfs tmpfs rw\n"), testing::IsEmpty());
}

TEST_F(MountedDriveTest, KeepsTheKernelsOrderOfMountsOnOneDirectoryThoughItReusesIds)
{
    std::string lines;
    std::vector<std::string> last;
    std::vector<std::string> first;
    for (int number = 0; number < 100; ++number) {
        const bool isLast = number % 2 == 0;
        const std::string device = "/dev/sdb" + std::to_string(number);
        lines += std::to_string(500 - number) + " 22 8:17 / /mnt/" + (isLast ? "y" : "x") + " rw - ext4 " +
                 device + " rw\n";
        (isLast ? last : first).push_back(device);
    }
    std::vector<std::string> devices;
    for (const MountedDrive& drive : read(lines)) {
        devices.push_back(drive.device);
    }
    first.insert(first.end(), last.begin(), last.end());
    EXPECT_EQ(devices, first);
}

TEST_F(MountedDriveTest, DecodesBlanksAndRecognisesABindMountByItsRoot)
{
    const auto drives =
        read("30 22 8:17 /two\\040words\\134 /mnt/My\\040Disk\\011\\012 rw - ext4 /dev/disk\\040one rw\n");
    ASSERT_EQ(drives.size(), 1U);
    EXPECT_EQ(drives[0].mountId, 30);
    EXPECT_EQ(drives[0].directory, "/mnt/My Disk\t\n");
    EXPECT_EQ(drives[0].root, "/two words\\");
    EXPECT_EQ(drives[0].device, "/dev/disk one");
    EXPECT_EQ(drives[0].type, "ext4");
    EXPECT_EQ(drives[0].number, makedev(8, 17));
}

TEST_F(MountedDriveTest, IsReadOnlyWhenTheMountOrItsFileSystemIs)
{
    const std::vector<std::pair<std::string, bool>> cases{
        {"rw,relatime - ext4 /dev/sdb1 rw,errors=remount-ro", false},
        {"ro,relatime - ext4 /dev/sdb1 rw", true},
        {"rw,relatime - ext4 /dev/sdb1 ro", true},
        {"ro - ext4 /dev/sdb1 ro", true},
        {"rw shared:12 - fuseblk /dev/sdb1 rw,user_id=0,rootcontext=x", false},
    };
    for (const auto& [options, readOnly] : cases) {
        const auto drives = read("30 22 8:17 / /mnt/x " + options + "\n");
        ASSERT_EQ(drives.size(), 1U) << options;
        EXPECT_EQ(drives[0].readOnly, readOnly) << options;
    }
}

} // namespace
