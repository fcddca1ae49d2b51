#include <filesystem>

#include "tests/support/Files.h"
#include "tests/support/Hives.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::string Map = "/mounts/windows/Programs/Vorna/drives.ini";

/// Offsets of the partitions of `mbrDisk`, in bytes.
constexpr int First = 2048 * 512;
constexpr int Second = 20480 * 512;
constexpr int Logical = 43008 * 512;

std::string mbrDisk(const std::string& name, const std::string& signature)
{
    return Images::disk(name, "label: dos\nlabel-id: 0x" + signature +
                                  "\nstart=2048,size=16384,type=7\nstart=20480,size=16384,type=7\n"
                                  "start=40960,size=80000,type=5\nstart=43008,size=16384,type=7\n");
}

std::string mbr(const std::string& letter, const std::string& signature, int offset)
{
    return letter + "=mbr:" + signature + ":" + std::to_string(offset);
}

/// An NTFS image with a Windows whose registry has these letters.
std::string windows(const std::string& name, const std::string& serial,
                    const std::vector<std::string>& settings,
                    const std::string& place = "Windows/System32/config/SYSTEM")
{
    const std::string image = Images::ntfs(name, name, {}, serial);
    Images::put(image, place, Hives::make("/tmp/images/" + name + ".hive", settings));
    return image;
}

} // namespace

/// The program that writes the drives map, and the service that reads it.
class WindowsLettersTest : public MachineTest
{
protected:
    static ProcessResult drivesMap(std::vector<std::string> options = {"--write"})
    {
        options.insert(options.begin(), VRDRIVESMAP);
        return runProgram(options);
    }

    /// Both programs, as at the start of the live system.
    void startWithMap()
    {
        machine.start();
        const ProcessResult result = drivesMap();
        EXPECT_EQ(result.status, 0) << result.output;
        startService();
    }

    /// A Windows on the second partition whose registry knows all of them.
    void addPc()
    {
        machine.addInternal("sda", mbrDisk("disk", "1234abcd"));
        machine.addInternal("sda1", Images::ntfs("one", "Data", {}, "5A3C1F2000000001"));
        machine.addInternal("sda2", windows("two", "5A3C1F2000000002",
                                            {mbr("C", "1234abcd", Second), mbr("D", "99999999", First),
                                             mbr("E", "1234abcd", Logical), mbr("G", "1234abcd", First)}));
        machine.addInternal("sda5", Images::ntfs("five", "Logical", {}, "5A3C1F2000000005"));
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

TEST_F(WindowsLettersTest, AreShownInATable)
{
    addPc();
    machine.start();
    EXPECT_EQ(drivesMap({}).output, "LETTER  PARTITION  LABEL    FROM\n"
                                    "C:      /dev/sda2  two      registry of /dev/sda2\n"
                                    "D:      -          -        kept free: no such partition here\n"
                                    "E:      /dev/sda5  Logical  registry of /dev/sda2\n"
                                    "G:      /dev/sda1  Data     registry of /dev/sda2\n"
                                    "/dev/sda2: its registry was written at 1970-01-01 00:00 UTC\n");
    EXPECT_FALSE(fs::exists(Map));
}
