#include <cerrno>

#include <gmock/gmock.h>

#include "drives/NtfsMount.h"
#include "tests/support/KernelDoor.h"
#include "tests/support/LogWatch.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class NtfsMountTest : public testing::Test
{
protected:
    NtfsMountTest() { KernelDoor::reset(); }

    static bool run()
    {
        return NtfsMount::run(ShellCommand(QStringLiteral("ntfs-3g %1"), QStringLiteral("/dev/sda1")));
    }
    static bool runReadOnly()
    {
        return NtfsMount::runReadOnly(QStringLiteral("/dev/sda1"), QStringLiteral("/mnt/sda1"));
    }
};

TEST_F(NtfsMountTest, WritesTheCommandThenRunsIt)
{
    EXPECT_TRUE(run());
    EXPECT_THAT(KernelDoor::calls(), ElementsAre("system(ntfs-3g /dev/sda1)"));
    EXPECT_THAT(LogWatch::messages(7), ElementsAre("\"ntfs-3g /dev/sda1\" "));
    EXPECT_THAT(LogWatch::messages(5), IsEmpty());
}

TEST_F(NtfsMountTest, WarnsWithTheRawWaitStatusOfTheFirstRun)
{
    KernelDoor::answer("system(", 0x100);
    KernelDoor::answer("system(", -1, ENOMEM);
    LogWatch::expect("\"WARNING ntfs-3g: 0x100\" ");
    LogWatch::expect("\"WARNING ntfs-3g: 0x-1\" ");
    EXPECT_FALSE(run());
    EXPECT_FALSE(run());
}

TEST_F(NtfsMountTest, MountsReadOnlyWithoutABlankBehindTheOption)
{
    EXPECT_TRUE(runReadOnly());
    EXPECT_THAT(KernelDoor::calls(), ElementsAre("system(ntfs-3g -oro /dev/sda1 /mnt/sda1)"));
}

TEST_F(NtfsMountTest, TellsAMissingShellFromAFailingDriverInTheReadOnlyRun)
{
    KernelDoor::answer("system(", -1, ENOMEM);
    KernelDoor::answer("system(", 0x1500);
    LogWatch::expect("\"ERROR system: [/mnt/sda1] with error: Cannot allocate memory\" ");
    LogWatch::expect("\"ERROR ntfs-3g: 0x1500\" ");
    EXPECT_FALSE(runReadOnly());
    EXPECT_FALSE(runReadOnly());
}

} // namespace
