#include <cerrno>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include "drives/MountDirectory.h"
#include "drives/MountRoot.h"
#include "tests/support/KernelDoor.h"
#include "tests/support/LogWatch.h"
#include "tests/support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class MountDirectoryTest : public testing::Test
{
protected:
    MountDirectoryTest()
    {
        KernelDoor::reset();
        root.create();
        other.create();
    }

    MountDirectory forLabel(const char* name)
    {
        return MountDirectory::forLabel(root, QString::fromUtf8(name));
    }
    MountDirectory forNode(const char* deviceFile)
    {
        return MountDirectory::forNode(root, QString::fromLatin1(deviceFile));
    }
    std::string below(const std::string& name) const { return directory.path() + "/root" + name; }
    std::string elsewhere(const std::string& name) const { return directory.path() + "/other" + name; }

    const TemporaryDirectory directory;
    MountRoot root{QString::fromStdString(directory.path() + "/root/")};
    MountRoot other{QString::fromStdString(directory.path() + "/other/")};
};

struct LabelRow
{
    const char* name;
    const char* path; ///< below the root
};

TEST_F(MountDirectoryTest, HasOneNameBelowTheRootWhenItIsNamedAfterALabel)
{
    for (const LabelRow& row : {LabelRow{"DATA", "/DATA"},
                                {"USB DISK", "/USB DISK"},
                                {"", ""},
                                {"C:", "/C:"},
                                {"..x", "/..x"},
                                {"...", "/..."},
                                {":", "/:"},
                                {":x", "/:x"},
                                {"~", "/~"},
                                {"a\nb", "/a\nb"},
                                {"é", "/é"}}) {
        EXPECT_EQ(forLabel(row.name).refusal(), 0) << row.name;
        EXPECT_EQ(forLabel(row.name).path().toStdString(), below(row.path));
    }
    for (const char* name : {".", "..", "/etc", "../etc", "a/b", "a/", "/"}) {
        EXPECT_EQ(forLabel(name).refusal(), EINVAL) << name;
    }
    const QString cut = QString(QStringLiteral("C:")) + QChar::Null;
    EXPECT_EQ(MountDirectory::forLabel(root, cut).refusal(), EINVAL);
}

TEST_F(MountDirectoryTest, LosesTheDevicePrefixByPositionWhenItIsNamedAfterANode)
{
    EXPECT_EQ(forNode("/dev/sda1").path().toStdString(), below("/sda1"));
    EXPECT_EQ(forNode("/deX/sda1").path().toStdString(), below("/sda1"));
    EXPECT_EQ(forNode("/x/sda1").path().toStdString(), below("/a1"));
    EXPECT_EQ(forNode("abc").path().toStdString(), below(""));
    EXPECT_EQ(forNode("").path().toStdString(), below(""));
}

TEST_F(MountDirectoryTest, MayHoldASlashButNeverLeavesTheRootWhenItIsNamedAfterANode)
{
    EXPECT_EQ(forNode("/dev/mapper/vg-lv").refusal(), 0);
    EXPECT_EQ(forNode("/dev/mapper/vg-lv").path().toStdString(), below("/mapper/vg-lv"));
    for (const char* node : {"/dev/../etc", "/dev//etc", "/dev/a/../../etc", "/dev/.", "/dev/mapper/.."}) {
        EXPECT_EQ(forNode(node).refusal(), EINVAL) << node;
    }
    const QString cut = QString(QStringLiteral("/dev/sda1")) + QChar::Null;
    EXPECT_EQ(MountDirectory::forNode(root, cut).refusal(), EINVAL);
}

TEST_F(MountDirectoryTest, IsRefusedWhereALinkStands)
{
    fs::create_directory_symlink("/etc", below("/LINK"));
    EXPECT_EQ(forLabel("LINK").refusal(), ELOOP);
    EXPECT_EQ(forNode("/dev/LINK").refusal(), ELOOP);
}

TEST_F(MountDirectoryTest, IsMadeOneLevelDeepAndRemovedWhenItIsEmpty)
{
    forLabel("DATA").create();
    forLabel("DATA").create();
    forNode("/dev/mapper/vg-lv").create();
    EXPECT_TRUE(fs::is_directory(below("/DATA")));
    EXPECT_FALSE(fs::exists(below("/mapper")));
    std::ofstream(below("/DATA/file")) << "x";
    forLabel("DATA").remove();
    EXPECT_TRUE(fs::exists(below("/DATA/file")));
    fs::remove(below("/DATA/file"));
    forLabel("DATA").remove();
    EXPECT_FALSE(fs::exists(below("/DATA")));
}

TEST_F(MountDirectoryTest, IsNeverRemovedOutsideTheRootNorTheRootItself)
{
    forNode("/dev/../other").remove();
    forLabel("").remove();
    EXPECT_TRUE(fs::is_directory(elsewhere("")));
    EXPECT_TRUE(fs::is_directory(below("")));
}

TEST_F(MountDirectoryTest, MovesItsMountToADirectoryThatIsMadeForIt)
{
    const MountDirectory target = MountDirectory::forLabel(other, QStringLiteral("C:"));
    EXPECT_TRUE(forNode("/dev/sda1").moveTo(target));
    EXPECT_THAT(KernelDoor::calls(),
                ElementsAre("mount(" + below("/sda1") + ", " + elsewhere("/C:") + ", NULL, 0x2000, NULL)"));
    EXPECT_TRUE(fs::is_directory(elsewhere("/C:")));
}

TEST_F(MountDirectoryTest, RemovesTheTargetOfAMoveThatFailsAndSaysNothing)
{
    KernelDoor::answer("mount(", -1, EINVAL);
    EXPECT_FALSE(forNode("/dev/sda1").moveTo(MountDirectory::forLabel(other, QStringLiteral("C:"))));
    EXPECT_FALSE(fs::exists(elsewhere("/C:")));
    EXPECT_THAT(LogWatch::raw(), IsEmpty());
}

struct MoveRow
{
    const char* deviceFile;
    const char* letter;
};

TEST_F(MountDirectoryTest, MovesNeitherARootNorWhatIsRefusedAtEitherEnd)
{
    fs::create_directory_symlink("/etc", below("/LINK"));
    fs::create_directory_symlink("/etc", elsewhere("/LINK"));
    for (const MoveRow& row : {MoveRow{"", "C:"},
                               {"/dev/", "C:"},
                               {"/dev/../other", "C:"},
                               {"/dev/LINK", "C:"},
                               {"/dev/sda1", "C:/Windows"},
                               {"/dev/sda1", ".."},
                               {"/dev/sda1", "LINK"}}) {
        const auto target = MountDirectory::forLabel(other, QString::fromLatin1(row.letter));
        EXPECT_FALSE(forNode(row.deviceFile).moveTo(target)) << row.deviceFile << " " << row.letter;
    }
    EXPECT_THAT(KernelDoor::calls(), IsEmpty());
    EXPECT_FALSE(fs::exists(elsewhere("/C:")));
}

} // namespace
