#include <gmock/gmock.h>

#include "provider/today/Explanation.h"
#include "tests/provider/today/SampleDevices.h"

using namespace SampleDevices;

namespace {

const QString Ntfs = QStringLiteral("ntfs");

Picture machine()
{
    return present({
        internal(QStringLiteral("sda"), QString()),
        internal(QStringLiteral("nvme0n1p3"), Ntfs, {{QStringLiteral("IdLabel"), QStringLiteral("Windows")}}),
        external(QStringLiteral("sdb1"), Ntfs, QStringLiteral("a b\x1b[2J")),
        external(QStringLiteral("sdc1"), QStringLiteral("vfat"), QStringLiteral("C:"),
                 {{QStringLiteral("DeviceFileById"), QStringList(QStringLiteral("/dev/disk/by-uuid/X"))}}),
        external(QStringLiteral("loop0"), QStringLiteral("ext4"), QString()),
        internal(QStringLiteral("sdd1"), Ntfs),
    });
}

std::string of(const char* node)
{
    return Explanation::of(machine(), QString::fromLatin1(node));
}

std::string behind(const char* word)
{
    for (const Rule& rule : Rules::all()) {
        if (rule.word == std::string(word)) {
            return std::string("    ") + word + ": " + rule.reason + "\n";
        }
    }
    return "no such rule";
}

} // namespace

TEST(ExplanationTest, SaysWhatIsPresentedAndWhy)
{
    EXPECT_EQ(of("sda"), "/dev/sda: internal device, no file system\n    presented as it is\n");
    EXPECT_EQ(of("nvme0n1p3"), "/dev/nvme0n1p3: internal partition, ntfs \"Windows\"\n"
                               "    presented with DeviceMajor 8 instead of 259\n" +
                                   behind("scsi-major") + behind("windows-first"));
    EXPECT_EQ(of("sdc1"), "/dev/sdc1: external partition, vfat \"C:\"\n"
                          "    presented with IdLabel \"C_\" instead of \"C:\"\n" +
                              behind("drive-letter-labels"));
    EXPECT_EQ(of("loop0"), "/dev/loop0: external device, ext4\n    not offered\n" + behind("memory-devices"));
    EXPECT_EQ(of("sdd1"),
              "/dev/sdd1: internal partition, ntfs\n    presented as it is, earlier in the order\n" +
                  behind("windows-first"));
}

TEST(ExplanationTest, MakesLabelsHarmless)
{
    EXPECT_EQ(of("sdb1"), "/dev/sdb1: external partition, ntfs \"a b\\x1b[2J\"\n"
                          "    presented with IdLabel \"a_b\\x1b[2J\" instead of \"a b\\x1b[2J\"\n" +
                              behind("blank-labels"));
}

TEST(ExplanationTest, FindsADeviceByItsNodeAndByItsLinks)
{
    EXPECT_EQ(of("/dev/sdc1"), of("sdc1"));
    EXPECT_EQ(of("/dev/disk/by-uuid/X"), of("sdc1"));
    EXPECT_EQ(of("disk/by-uuid/X"), of("sdc1"));
    EXPECT_EQ(of("sdc"), "");
    EXPECT_EQ(of("/dev/"), "");
}

TEST(ExplanationTest, CoversEveryDeviceInTheOrderInWhichTheyArePresented)
{
    EXPECT_EQ(of(""), of("nvme0n1p3") + of("sdd1") + of("sda") + of("sdb1") + of("sdc1") + of("loop0"));
}
