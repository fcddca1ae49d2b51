#include <csignal>
#include <filesystem>

#include "tests/support/Files.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/support/WaitFor.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

std::string labelled(const std::string& label)
{
    return "IdLabel = " + Machine::encoded(label);
}

} // namespace

/// Names come from foreign media, and the service runs as root.
class HostileNamesTest : public MachineTest
{
};

struct Name
{
    std::string label;
    std::string shown; ///< in the log
};

class OddLabelTest : public HostileNamesTest, public testing::WithParamInterface<Name>
{
};

TEST_P(OddLabelTest, IsADirectoryNameForTheKernel)
{
    machine.addUnplugged("sdb1", Images::ext4("stick", "plain"), {labelled(GetParam().label)});
    start();
    machine.plug("sdb1");
    const std::string directory = "/media/" + GetParam().label;
    EXPECT_TRUE(waitFor([&] { return KernelMounts::sourceAt(directory) == "/dev/sdb1"; }));
    machine.unplug("sdb1");
    EXPECT_TRUE(waitFor([&] { return !Files::isListed(directory); }));
    EXPECT_TRUE(ServiceLog::says("Trying to umount2: /media/" + GetParam().shown));
    stop();
}

TEST_P(OddLabelTest, IsADirectoryNameForTheShell)
{
    fs::current_path("/tmp");
    machine.addUnplugged("sdb1", Images::ntfs("stick", "plain"), {labelled(GetParam().label)});
    start();
    machine.plug("sdb1");
    const std::string directory = "/media/" + GetParam().label;
    EXPECT_TRUE(waitFor([&] { return KernelMounts::sourceAt(directory) == "/dev/sdb1"; }))
        << service().output();
    EXPECT_THAT(Files::namesIn("/media"), ElementsAre(GetParam().label));
    EXPECT_EQ(ServiceLog::count(ServiceLog::quoted("ntfs-3g /dev/sdb1 /media/" + GetParam().shown)), 1);
    stop();
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
    EXPECT_FALSE(fs::exists("/tmp/hit")) << "the label was run as a command";
}

INSTANTIATE_TEST_SUITE_P(Labels, OddLabelTest,
                         testing::Values(Name{"A&B", "A&B"}, Name{"$(touch${IFS}hit)", "$(touch${IFS}hit)"},
                                         Name{"`id`", "`id`"}, Name{"a'b", "a'b"}, Name{"a\"b", "a\"b"},
                                         Name{"a\\b", "a\\b"}, Name{"a\nb", "a\\nb"},
                                         Name{"a;b|c>d<e", "a;b|c>d<e"},
                                         Name{"*?[x]~#!{1,2}", "*?[x]~#!{1,2}"}, Name{"-oro", "-oro"},
                                         Name{"%1%2%3", "%1%2%3"}, Name{":x", ":x"}, Name{":", ":"},
                                         Name{"~", "~"}, Name{"...", "..."}, Name{"Grün💾", "Grün💾"},
                                         Name{"\x1b[31mred", "\\x1b[31mred"}));

struct Refused
{
    const char* name;
    std::string label;
};

class RefusedLabelTest : public HostileNamesTest, public testing::WithParamInterface<Refused>
{
};

TEST_P(RefusedLabelTest, IsNeitherCreatedNorMounted)
{
    fs::create_directories("/sibling");
    machine.addUnplugged("sdb1", Images::ext4("ext4", "plain"), {labelled(GetParam().label)});
    machine.addUnplugged("sdc1", Images::ntfs("ntfs", "plain"), {labelled(GetParam().label)});
    machine.addUnplugged("sdd1", Images::ext4("good", "GOOD"));
    const auto before = KernelMounts::all().size();
    start();
    machine.plug("sdb1");
    machine.plug("sdc1");
    machine.plug("sdd1");
    EXPECT_TRUE(waitFor([] { return KernelMounts::at("/media/GOOD").has_value(); }));
    EXPECT_EQ(KernelMounts::all().size(), before + 1);
    EXPECT_THAT(Files::namesIn("/media"), ElementsAre("GOOD"));
    EXPECT_THAT(Files::namesIn("/sibling"), IsEmpty());
    expectQuotedWarning("ERROR mount: Invalid argument");
    expectQuotedWarning("ERROR mount: Invalid argument");
    stop();
}

INSTANTIATE_TEST_SUITE_P(Labels, RefusedLabelTest,
                         testing::Values(Refused{"Absolute", "/etc"}, Refused{"Above", "../sibling"},
                                         Refused{"Parent", ".."}, Refused{"Self", "."},
                                         Refused{"Below", "GOOD/inner"}, Refused{"Closed", "GOOD/"},
                                         Refused{"Slash", "/"}),
                         [](const auto& testCase) { return testCase.param.name; });

TEST_F(HostileNamesTest, UuidIsCheckedLikeALabel)
{
    machine.addUnplugged("sdb1", Images::ext4("stick", ""), {"IdUuid = ../etc"});
    start();
    machine.plug("sdb1");
    EXPECT_TRUE(ServiceLog::says("ERROR mount: Invalid argument"));
    expectQuotedWarning("ERROR mount: Invalid argument");
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    stop();
}

TEST_F(HostileNamesTest, LetterOfTheMapThatLeadsElsewhereIsAFailedMove)
{
    fs::create_directories("/mounts/win/Programs/Vorna");
    Files::write("/mounts/win/Programs/Vorna/drives.ini",
                 "[Disk]\nPartition1=[0000000A]../etc\nPartition2=[0000000B]C:/Windows\nPartition3=\";\"\n"
                 "Partition4=[0000000C]\n");
    machine.addInternal("sda1", Images::ntfs("one", "one", {}, "010101010000000A"));
    machine.addInternal("sda2", Images::ntfs("two", "two", {}, "010101010000000B"));
    machine.addInternal("sda3", Images::ntfs("three", "three", {}, "010101010000000C"));
    start();
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/D:", "/mnt/sda1", "/mnt/sda2"));
    EXPECT_EQ(KernelMounts::sourceAt("/media/D:"), "/dev/sda3");
    stop();
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
}

TEST_F(HostileNamesTest, LetterOfTheMapThatBeginsWithAColonIsADirectoryBelowTheRoot)
{
    fs::create_directories("/mounts/win/Programs/Vorna");
    Files::write("/mounts/win/Programs/Vorna/drives.ini", "[Disk]\nPartition1=[0000000A]:x\n");
    machine.addInternal("sda1", Images::ntfs("one", "one", {}, "010101010000000A"));
    start();
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/:x"));
    EXPECT_THAT(Files::namesIn("/mnt"), IsEmpty());
    stop();
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
}

TEST_F(HostileNamesTest, NodeNeverLeavesTheTemporaryRoot)
{
    const std::string image = Images::ext4("disk", "disk");
    machine.addUnplugged("sda1", image, {"Internal = true", "DeviceFile = /dev/../etc", "IdLabel = x"});
    start();
    machine.plug("sda1");
    EXPECT_TRUE(ServiceLog::says("ERROR mount: Invalid argument"));
    expectQuotedWarning("ERROR mount: Invalid argument");
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    stop();
}

TEST_F(HostileNamesTest, LineFeedForgesNoLogLine)
{
    const std::string forged = "x\n<01.01.2024 00:00:00.000000> qWarning                  (5) \tforged";
    machine.addUnplugged("sdb1", Images::ext4("stick", "plain"), {labelled(forged)});
    start();
    machine.plug("sdb1");
    EXPECT_TRUE(waitFor([&] { return KernelMounts::at("/media/" + forged).has_value(); }));
    stop();
    EXPECT_EQ(ServiceLog::count("forged"), 0);
    EXPECT_THAT(ServiceLog::raw(), HasSubstr("\\n<01.01.2024 00:00:00.000000>"));
}
