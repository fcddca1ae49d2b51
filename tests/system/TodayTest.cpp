#include "tests/support/Files.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/support/WaitFor.h"
#include "tests/system/SystemTest.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

Machine::Settings gpt(const std::string& type)
{
    return {"PartitionScheme = gpt", "PartitionType = " + type};
}

const Machine::Settings Efi = gpt("C12A7328-F81F-11D2-BA4B-00A0C93EC93B");
const Machine::Settings Reserved = gpt("E3C9E316-0B5C-4DB8-817D-F92DF00215AE");
const Machine::Settings Data = gpt("EBD0A0A2-B9E5-4433-87C0-68B6B72699C7");
const Machine::Settings Recovery = gpt("DE94BBA4-06D1-4D40-A16A-BFD50179D6AC");

bool becomesMounted(const std::string& directory, const std::string& source)
{
    return waitFor([&] { return KernelMounts::sourceAt(directory) == source; });
}

bool vanishes(const std::string& directory)
{
    return waitFor([&] { return !Files::isListed(directory); });
}

} // namespace

/// Machines as they are built and used today.
class TodayTest : public MachineTest
{
protected:
    TodayTest() { machine.presentAsToday(); }
};

TEST_F(TodayTest, WindowsIsOnCOfAUefiDiskWithoutAMap)
{
    machine.addInternal("nvme0n1p1", Images::ext4("efi", "SYSTEM"), Efi);
    machine.addInternal("nvme0n1p2", Images::blank("reserved"), Reserved);
    machine.addInternal("nvme0n1p3", Images::ntfs("windows", "Windows", {"Windows/"}), Data);
    machine.addInternal("nvme0n1p4", Images::ntfs("recovery", "Recovery"), Recovery);
    start();
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/C:"));
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/nvme0n1p3");
    EXPECT_THAT(Files::namesIn("/mnt"), IsEmpty());
    stop();
}

TEST_F(TodayTest, PartitionThatWindowsMarksAsHiddenHasNoLetter)
{
    Machine::Settings marked = Data;
    marked.emplace_back("PartitionAttributes = C000000000000001");
    machine.addInternal("sda1", Images::ntfs("hidden", "hidden"), marked);
    machine.addInternal("sda2", Images::ntfs("windows", "Windows", {"Windows/"}), Data);
    start();
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/C:"));
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda2");
    stop();
}

TEST_F(TodayTest, WindowsIsOnCBesideALinuxThatLiesBeforeIt)
{
    machine.addInternal("sda1", Images::ext4("linux", "linux"));
    machine.addInternal("sda2", Images::ntfs("windows", "Windows", {"Windows/"}));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda2");
    EXPECT_EQ(KernelMounts::sourceAt("/media/D:"), "/dev/sda1");
    stop();
}

TEST_F(TodayTest, ReservedPartitionOfAnMbrDiskKeepsItsName)
{
    machine.addInternal("sda1", Images::ntfs("boot", "System Reserved"));
    machine.addInternal("sda2", Images::ntfs("windows", "Windows", {"Windows/"}));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/system-reserved"), "/dev/sda1");
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda2");
    stop();
}

TEST_F(TodayTest, NtfsWithABlankInItsLabelIsMounted)
{
    machine.addUnplugged("sdb1", Images::ntfs("passport", "My Passport", {"notes.txt"}));
    start();
    machine.plug("sdb1");
    EXPECT_TRUE(becomesMounted("/media/My_Passport", "/dev/sdb1"));
    EXPECT_EQ(Files::content("/media/My_Passport/notes.txt"), "notes.txt");
    stop();
}

TEST_F(TodayTest, StickWithTheLabelOfADriveDoesNotLieOverWindows)
{
    machine.addInternal("sda1", Images::ntfs("windows", "Windows", {"Windows/"}));
    machine.addUnplugged("sdb1", Images::ext4("stick", "C:"));
    machine.addUnplugged("sdc1", Images::ext4("other", "system-reserved"));
    start();
    machine.plug("sdb1");
    machine.plug("sdc1");
    EXPECT_TRUE(becomesMounted("/media/C_", "/dev/sdb1"));
    EXPECT_TRUE(becomesMounted("/media/system_reserved", "/dev/sdc1"));
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/C:", "/media/C_", "/media/system_reserved"));
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda1");
    stop();
}

/// Two sticks of one label, pulled in the order that a test names.
class TwinsTest : public TodayTest
{
protected:
    void plugBoth()
    {
        machine.addUnplugged("sdb1", Images::ext4("first", "TWIN"));
        machine.addUnplugged("sdc1", Images::ext4("second", "TWIN"));
        start();
        machine.plug("sdb1");
        machine.plug("sdc1");
        ASSERT_TRUE(becomesMounted("/media/TWIN", "/dev/sdb1"));
        ASSERT_TRUE(becomesMounted("/media/TWIN_2", "/dev/sdc1"));
    }

    void endWithNothingLeft()
    {
        EXPECT_THAT(KernelMounts::directories(), IsEmpty());
        EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
        stop();
    }
};

TEST_F(TwinsTest, AreTakenDownOneByOneWhenTheFirstIsPulledFirst)
{
    plugBoth();
    machine.unplug("sdb1");
    EXPECT_TRUE(vanishes("/media/TWIN"));
    EXPECT_EQ(KernelMounts::sourceAt("/media/TWIN_2"), "/dev/sdc1");
    machine.unplug("sdc1");
    EXPECT_TRUE(vanishes("/media/TWIN_2"));
    endWithNothingLeft();
}

TEST_F(TwinsTest, AreTakenDownOneByOneWhenTheSecondIsPulledFirst)
{
    plugBoth();
    machine.unplug("sdc1");
    EXPECT_TRUE(vanishes("/media/TWIN_2"));
    EXPECT_EQ(KernelMounts::sourceAt("/media/TWIN"), "/dev/sdb1");
    machine.unplug("sdb1");
    EXPECT_TRUE(vanishes("/media/TWIN"));
    endWithNothingLeft();
}

TEST_F(TwinsTest, KeepTheirNamesWhileTheOtherComesBack)
{
    plugBoth();
    machine.unplug("sdb1");
    EXPECT_TRUE(vanishes("/media/TWIN"));
    machine.plug("sdb1");
    EXPECT_TRUE(becomesMounted("/media/TWIN", "/dev/sdb1"));
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/TWIN", "/media/TWIN_2"));
    stop();
}
