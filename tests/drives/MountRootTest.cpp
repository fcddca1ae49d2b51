#include <cerrno>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include "drives/MountRoot.h"
#include "tests/support/KernelDoor.h"
#include "tests/support/LogWatch.h"
#include "tests/support/TemporaryDirectory.h"

namespace fs = std::filesystem;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

class MountRootTest : public testing::Test
{
protected:
    MountRootTest() { KernelDoor::reset(); }

    std::string below(const std::string& name = {}) const { return directory.path() + "/root" + name; }
    QString path(const char* name) const { return QString::fromStdString(below(name)); }

    const TemporaryDirectory directory;
    MountRoot root{QString::fromStdString(directory.path() + "/root//")};
};

} // namespace

TEST_F(MountRootTest, HasAPathWithoutASlashAtItsEnd)
{
    EXPECT_EQ(root.path().toStdString(), below());
    EXPECT_EQ(root.pathOf(QString()).toStdString(), below());
    EXPECT_EQ(root.pathOf(QStringLiteral("C:")).toStdString(), below("/C:"));
    EXPECT_EQ(root.pathOf(QStringLiteral(":C")).toStdString(), below("/:C"));
    EXPECT_EQ(root.pathOf(QStringLiteral("/etc")).toStdString(), below("//etc"));
}

TEST_F(MountRootTest, MakesItselfAndTheDirectoriesBelowOneLevelDeep)
{
    root.makeDirectory(path("/A"));
    EXPECT_FALSE(fs::exists(below()));
    root.create();
    root.create();
    root.makeDirectory(path("/A"));
    root.makeDirectory(path("/B/C"));
    EXPECT_TRUE(fs::is_directory(below("/A")));
    EXPECT_FALSE(fs::exists(below("/B")));
    MountRoot(path("/X/Y")).create();
    EXPECT_FALSE(fs::exists(below("/X")));
}

TEST_F(MountRootTest, RemovesEmptyDirectoriesOnlyAndNeverItself)
{
    root.create();
    fs::create_directory(below("/foreign"));
    root.makeDirectory(path("/full"));
    std::ofstream(below("/full/file")) << "x";
    for (const char* name : {"/foreign", "/full", "/none"}) {
        root.removeDirectory(path(name));
    }
    EXPECT_FALSE(fs::exists(below("/foreign")));
    EXPECT_TRUE(fs::exists(below("/full/file")));
    fs::remove_all(below("/full"));
    root.removeDirectory(root.path());
    EXPECT_TRUE(fs::is_directory(below()));
}

TEST_F(MountRootTest, UnmountsLogsAndRemovesEachDirectoryOnceWhenItIsTakenDown)
{
    root.create();
    root.makeDirectory(path("/C:"));
    root.makeDirectory(path("/.hidden"));
    fs::create_directory(below("/foreign"));
    std::ofstream(below("/foreign/file")) << "x";
    std::ofstream(below("/file")) << "x";
    KernelDoor::answer("umount(" + below("/foreign"), -1, EBUSY);
    root.takeDown();
    EXPECT_THAT(KernelDoor::calls(),
                UnorderedElementsAre("umount(" + below("/C:") + ")", "umount(" + below("/.hidden") + ")",
                                     "umount(" + below("/foreign") + ")"));
    EXPECT_EQ(LogWatch::lines().size(), 3U);
    EXPECT_FALSE(fs::exists(below("/C:")));
    EXPECT_FALSE(fs::exists(below("/.hidden")));
    EXPECT_TRUE(fs::exists(below("/foreign/file")));
    EXPECT_TRUE(fs::exists(below("/file")));
}

TEST_F(MountRootTest, HasNothingToTakeDownWhereItIsMissing)
{
    root.takeDown();
    EXPECT_THAT(KernelDoor::calls(), IsEmpty());
    EXPECT_THAT(LogWatch::raw(), IsEmpty());
    EXPECT_FALSE(fs::exists(below()));
}
