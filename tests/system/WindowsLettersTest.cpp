#include <algorithm>
#include <map>

#include "tests/support/Files.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/system/WindowsMachine.h"

using testing::ElementsAre;

/// The program that writes the drives map, and the service that reads it.
class WindowsLettersTest : public WindowsMachineTest
{
protected:
    /// The service ends, and so does the machine.
    void end()
    {
        stop();
        machine = Machine();
    }
};

TEST_F(WindowsLettersTest, AreThoseOfTheRegistry)
{
    addPc();
    machine.addInternal("sdb1", Images::ntfs("other", "Other", {}, "5A3C1F20000000B1"));
    startWithMap();
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda2");
    EXPECT_EQ(KernelMounts::sourceAt("/media/E:"), "/dev/sda5");
    EXPECT_EQ(KernelMounts::sourceAt("/media/G:"), "/dev/sda1");
    EXPECT_EQ(KernelMounts::sourceAt("/media/H:"), "/dev/sdb1") << "D: and F: belong to nobody else";
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/C:", "/media/E:", "/media/G:", "/media/H:"));
    stop();
}

TEST_F(WindowsLettersTest, AreFoundOnAGpt)
{
    machine.addInternal(
        "nvme0n1", Images::disk("gpt", "label: gpt\n"
                                       "start=2048,size=16384,uuid=0123ABCD-1122-3344-5566-778899AABBCC\n"
                                       "start=20480,size=16384,uuid=0123ABCD-1122-3344-5566-778899AABBCD\n"));
    machine.addInternal("nvme0n1p1", Images::ntfs("data", "Data", {}, "5A3C1F2000000001"),
                        {"DeviceMajor = 8"});
    machine.addInternal(
        "nvme0n1p2",
        windows("os", "5A3C1F2000000002",
                {"C=gpt:0123ABCD-1122-3344-5566-778899AABBCD", "K=gpt:0123ABCD-1122-3344-5566-778899AABBCC"}),
        {"DeviceMajor = 8"});
    startWithMap();
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/nvme0n1p2");
    EXPECT_EQ(KernelMounts::sourceAt("/media/K:"), "/dev/nvme0n1p1");
    stop();
}

/// The partitions of a PC in any order, with a Linux and a partition without a letter.
TEST_F(WindowsLettersTest, AreNeverGivenTwiceWhateverTheOrderOfThePartitions)
{
    const std::string table = disk();
    const std::map<std::string, std::string> images{
        {"sda1", Images::ntfs("one", "Data", {}, "5A3C1F2000000001")},
        {"sda2", windows("two", "5A3C1F2000000002", {drive("C", Place::Second), drive("D", Place::First)})},
        {"sda5", Images::ntfs("five", "Logical", {}, "5A3C1F2000000005")},
        {"sdb1", Images::ext4("linux", "linux")}};
    std::vector<std::string> order{"sda1", "sda2", "sda5", "sdb1"};
    for (int rotation = 0; rotation < 4; ++rotation) {
        machine.addInternal("sda", table);
        for (const std::string& node : order) {
            machine.addInternal(node, images.at(node));
        }
        startWithMap();
        std::vector<std::string> directories = KernelMounts::directories();
        EXPECT_EQ(directories.size(), 4U);
        EXPECT_EQ(std::unique(directories.begin(), directories.end()), directories.end());
        const bool linuxIsFirst = order.front() == "sdb1";
        EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), linuxIsFirst ? "/dev/sdb1" : "/dev/sda2");
        EXPECT_EQ(KernelMounts::sourceAt("/media/D:"), "/dev/sda1");
        end();
        std::rotate(order.begin(), order.begin() + 1, order.end());
    }
}

TEST_F(WindowsLettersTest, ComeFromTheMapThatWindowsHasLeft)
{
    addPc();
    const std::string map = Images::ntfs("tools", "Tools", {}, "5A3C1F20000000B1");
    Files::write("/tmp/drives.ini.of.windows", "[Disk0]\r\nPartition1=[00000001]X:\\\r\n");
    Images::put(map, "Program Files/Vorna/drives.ini", "/tmp/drives.ini.of.windows");
    machine.addInternal("sdb1", map);
    startWithMap();
    EXPECT_EQ(KernelMounts::sourceAt("/media/X:"), "/dev/sda1");
    stop();
    EXPECT_EQ(Files::content(Map), Files::content("/tmp/drives.ini.of.windows"));
}
