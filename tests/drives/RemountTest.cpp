#include <cerrno>

#include <gmock/gmock.h>

#include "drives/DriveManager.h"
#include "tests/support/KernelDoor.h"
#include "tests/support/LogWatch.h"
#include "tests/support/MachineProvider.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const char* const Machine = "[sda1]\nInternal = true\nPartition = true\nDeviceMajor = 8\nIdType = vfat\n"
                            "DeviceMountPaths = /media/D:,/mnt/both\n"
                            "[sda2]\nInternal = true\nPartition = true\nDeviceMajor = 8\nIdType = ntfs\n"
                            "DeviceMountPaths = /media/C:,/mnt/both\n"
                            "[sdb1]\nDeviceMajor = 8\nPartition = true\nPlugged = false\nIdType = "
                            "vfat\nDeviceMountPaths = /media/DATA\n";

std::string done(const std::string& path, const std::string& options)
{
    return "DONE remount: [" + path + "] with options: [" + options + "]";
}

struct RemountRow
{
    const char* story;
    const char* path;
    const char* options;
    std::vector<std::string> calls;
};

class RemountTest : public testing::Test
{
protected:
    RemountTest() { KernelDoor::reset(); }

    static std::string remount(const char* path, const char* options)
    {
        return DriveManager::instance()
            ->remountPath(QString::fromLatin1(path), QString::fromLatin1(options))
            .toStdString();
    }

    const MachineProvider devices{Machine};
};

class RemountCallsTest : public RemountTest, public testing::WithParamInterface<RemountRow>
{
};

TEST_P(RemountCallsTest, MakesExactlyTheseCallsAndReportsThemDone)
{
    EXPECT_EQ(remount(GetParam().path, GetParam().options), done(GetParam().path, GetParam().options));
    EXPECT_EQ(KernelDoor::calls(), GetParam().calls);
    EXPECT_THAT(LogWatch::raw(), testing::Not(testing::HasSubstr("DONE")));
}

INSTANTIATE_TEST_SUITE_P(
    DriveManager, RemountCallsTest,
    testing::Values(
        RemountRow{"NtfsReadOnly",
                   "/media/C:",
                   "ro",
                   {"umount(/media/C:)", "system(ntfs-3g /dev/sda2 /media/C: -oro)"}},
        RemountRow{
            "KernelReadOnly", "/media/D:", "ro", {"mount(/dev/sda1, /media/D:, NULL, 0xc0ed0021, -oauto)"}},
        RemountRow{
            "TheFirstOfTwoDevices", "/mnt/both", "", {"mount(/dev/sda1, /mnt/both, NULL, 0xc0ed0020, )"}}),
    [](const auto& row) { return row.param.story; });

TEST_F(RemountTest, FindsNoPathThatUDisksReportsOtherwise)
{
    DriveManager::instance();
    MachineProvider::plug("sdb1");
    for (const char* path : {"/media/C:/", "/media/c:", "", "/media/DATA"}) {
        LogWatch::begin();
        const std::string warning = std::string("WARNING re-mount path not found: [") + path + "]";
        LogWatch::expect("\"" + warning + "\" ");
        EXPECT_EQ(remount(path, "ro"), warning);
        EXPECT_THAT(LogWatch::unexpected(), IsEmpty());
    }
    LogWatch::begin();
    EXPECT_THAT(KernelDoor::calls(), testing::Not(testing::Contains(testing::StartsWith("umount("))));
}

TEST_F(RemountTest, ReturnsNothingWhenOnlyTheReadOnlyFallbackWorks)
{
    KernelDoor::answer("system(ntfs-3g /dev", 0x100);
    LogWatch::expect("\"WARNING ntfs-3g: 0x100\" ");
    EXPECT_EQ(remount("/media/C:", "bad"), "");
    EXPECT_THAT(KernelDoor::calls(),
                ElementsAre("umount(/media/C:)", "system(ntfs-3g /dev/sda2 /media/C: -obad)",
                            "system(ntfs-3g -oro /dev/sda2 /media/C:)"));
}

TEST_F(RemountTest, ReportsAndReturnsAFailedKernelRemount)
{
    KernelDoor::answer("mount(", -1, EINVAL);
    LogWatch::expect("\"ERROR remount: [/media/D:] with error: Invalid argument\" ");
    EXPECT_EQ(remount("/media/D:", "rw"), "ERROR remount: [/media/D:] with error: Invalid argument");
}

} // namespace
