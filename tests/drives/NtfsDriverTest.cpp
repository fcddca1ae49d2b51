#include <cerrno>

#include <gmock/gmock.h>

#include "drives/NtfsDriver.h"
#include "tests/support/KernelDoor.h"
#include "tests/support/LogWatch.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string remount(const char* options)
{
    return NtfsDriver::remount(QStringLiteral("/dev/sda2"), QStringLiteral("/media/C:"),
                               QString::fromLatin1(options))
        .toStdString();
}

class NtfsDriverTest : public testing::Test
{
protected:
    NtfsDriverTest() { KernelDoor::reset(); }

    static void mount() { NtfsDriver::mount(QStringLiteral("/dev/sda1"), QStringLiteral("/mnt/sda1")); }
};

TEST_F(NtfsDriverTest, WritesTheCommandThenRunsIt)
{
    mount();
    EXPECT_THAT(KernelDoor::calls(), ElementsAre("system(ntfs-3g /dev/sda1 /mnt/sda1)"));
    EXPECT_THAT(LogWatch::messages(7), ElementsAre("\"ntfs-3g /dev/sda1 /mnt/sda1\" "));
    EXPECT_THAT(LogWatch::messages(5), IsEmpty());
}

TEST_F(NtfsDriverTest, MountsReadOnlyWithoutABlankBehindTheOptionWhenTheFirstRunFails)
{
    KernelDoor::answer("system(", 0x100);
    LogWatch::expect("\"WARNING ntfs-3g: 0x100\" ");
    mount();
    EXPECT_THAT(KernelDoor::calls(), ElementsAre("system(ntfs-3g /dev/sda1 /mnt/sda1)",
                                                 "system(ntfs-3g -oro /dev/sda1 /mnt/sda1)"));
    EXPECT_THAT(LogWatch::messages(7),
                ElementsAre("\"ntfs-3g /dev/sda1 /mnt/sda1\" ", "\"ntfs-3g -oro /dev/sda1 /mnt/sda1\" "));
}

struct StatusRow
{
    int first;
    const char* warning;
    int second;
    const char* error;
};

TEST_F(NtfsDriverTest, ReportsTheRawWaitStatusOfEachRunInLowerCaseHexadecimal)
{
    for (const StatusRow& row :
         {StatusRow{0x100, "0x100", 0x1500, "\"ERROR ntfs-3g: 0x1500\" "},
          {0x7f00, "0x7f00", 11, "\"ERROR ntfs-3g: 0xb\" "},
          {-1, "0x-1", -2, "\"ERROR ntfs-3g: 0x-2\" "},
          {1, "0x1", -1, "\"ERROR system: [/mnt/sda1] with error: Cannot allocate memory\" "}}) {
        LogWatch::begin();
        KernelDoor::answer("system(", row.first, EAGAIN);
        KernelDoor::answer("system(", row.second, ENOMEM);
        mount();
        const std::string warning = std::string("\"WARNING ntfs-3g: ") + row.warning + "\" ";
        EXPECT_THAT(LogWatch::messages(5), ElementsAre(warning, row.error));
    }
    LogWatch::begin();
}

struct RemountRow
{
    const char* story;
    const char* options;
    std::vector<std::string> commands; ///< after the unmount
};

class NtfsRemountTest : public testing::TestWithParam<RemountRow>
{
};

TEST_P(NtfsRemountTest, UnmountsAndRunsTheseCommands)
{
    KernelDoor::reset();
    EXPECT_EQ(remount(GetParam().options),
              std::string("DONE remount: [/media/C:] with options: [") + GetParam().options + "]");
    std::vector<std::string> calls = {"umount(/media/C:)"};
    calls.insert(calls.end(), GetParam().commands.begin(), GetParam().commands.end());
    EXPECT_EQ(KernelDoor::calls(), calls);
    EXPECT_THAT(LogWatch::messages(7), testing::SizeIs(GetParam().commands.size()));
}

INSTANTIATE_TEST_SUITE_P(
    NtfsDriver, NtfsRemountTest,
    testing::Values(
        RemountRow{"WithoutOptions", "", {"system(ntfs-3g /dev/sda2 /media/C: )"}},
        RemountRow{"ReadOnly", "ro", {"system(ntfs-3g /dev/sda2 /media/C: -oro)"}},
        RemountRow{"Repaired",
                   "remove_hiberfile",
                   {"system(ntfsfix /dev/sda2)", "system(ntfs-3g /dev/sda2 /media/C: -oremove_hiberfile)"}},
        RemountRow{"IgnoringCaseAndRepaired",
                   "ignore_case,remove_hiberfile",
                   {"system(ntfsfix /dev/sda2)",
                    "system(lowntfs-3g /dev/sda2 /media/C: -oignore_case,remove_hiberfile)"}},
        RemountRow{"WithHostileOptions", "ro;reboot", {"system(ntfs-3g /dev/sda2 /media/C: '-oro;reboot')"}}),
    [](const auto& row) { return row.param.story; });

TEST_F(NtfsDriverTest, GoesOnWhenTheUnmountFails)
{
    KernelDoor::answer("umount(", -1, EBUSY);
    LogWatch::expect("\"ERROR umount: [/media/C:] with error: Device or resource busy\" ");
    EXPECT_EQ(remount("ro"), "DONE remount: [/media/C:] with options: [ro]");
}

TEST_F(NtfsDriverTest, IgnoresTheResultOfTheRepair)
{
    KernelDoor::answer("system(ntfsfix", 0x100);
    EXPECT_EQ(remount("remove_hiberfile"), "DONE remount: [/media/C:] with options: [remove_hiberfile]");
    EXPECT_THAT(LogWatch::messages(7),
                ElementsAre("\"ntfsfix /dev/sda2\" ", "\"ntfs-3g /dev/sda2 /media/C: -oremove_hiberfile\" "));
}

TEST_F(NtfsDriverTest, ReturnsNothingWhenOnlyTheReadOnlyFallbackWorks)
{
    KernelDoor::answer("system(ntfs-3g /dev", 0x100);
    LogWatch::expect("\"WARNING ntfs-3g: 0x100\" ");
    EXPECT_EQ(remount("bad"), "");
    EXPECT_THAT(KernelDoor::calls(),
                ElementsAre("umount(/media/C:)", "system(ntfs-3g /dev/sda2 /media/C: -obad)",
                            "system(ntfs-3g -oro /dev/sda2 /media/C:)"));
}

TEST_F(NtfsDriverTest, ReturnsNothingWhenTheFallbackFailsToo)
{
    KernelDoor::answer("system(", -1, EAGAIN);
    KernelDoor::answer("system(", 0x100);
    LogWatch::expect("\"WARNING ntfs-3g: 0x-1\" ");
    LogWatch::expect("\"ERROR ntfs-3g: 0x100\" ");
    EXPECT_EQ(remount(""), "");
}

TEST_F(NtfsDriverTest, NamesThePathWhenNoShellCouldBeRunForTheFallback)
{
    KernelDoor::answer("system(", 0x100);
    KernelDoor::answer("system(", -1, ENOMEM);
    LogWatch::expect("\"WARNING ntfs-3g: 0x100\" ");
    LogWatch::expect("\"ERROR system: [/media/C:] with error: Cannot allocate memory\" ");
    EXPECT_EQ(remount(""), "");
}

} // namespace
