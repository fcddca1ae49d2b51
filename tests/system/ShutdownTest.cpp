#include <csignal>
#include <filesystem>
#include <fstream>

#include <sys/mount.h>

#include "tests/support/Files.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> inDirectoryOrder(const std::string& root)
{
    std::vector<std::string> result;
    for (const auto& entry : fs::directory_iterator(root)) {
        if (entry.is_directory()) {
            result.push_back(entry.path());
        }
    }
    return result;
}

} // namespace

class ShutdownTest : public MachineTest
{
};

TEST_F(ShutdownTest, TakesDownWhateverIsMountedBelowTheRootsInDirectoryOrder)
{
    start();
    for (const char* directory : {"/media/b", "/media/.hidden", "/media/a", "/mnt/sdz1", "/mnt/.trash"}) {
        mountForeign(directory);
    }
    fs::create_directories("/media/leftover");
    fs::create_directories("/mnt/leftover");
    std::vector<std::string> expected = inDirectoryOrder("/media");
    const std::vector<std::string> temporary = inDirectoryOrder("/mnt");
    expected.insert(expected.end(), temporary.begin(), temporary.end());
    ASSERT_EQ(expected.size(), 7U);

    stop();
    EXPECT_EQ(ServiceLog::directoriesTakenDown(), expected);
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
    EXPECT_THAT(Files::namesIn("/mnt"), IsEmpty());
}

TEST_F(ShutdownTest, LeavesFilesAndFullDirectoriesAlone)
{
    start();
    Files::write("/media/file", "content");
    fs::create_directories("/mnt/full/of");
    Files::write("/mnt/full/of/things", "content");
    fs::create_directory_symlink("/mnt/full", "/media/link");
    stop();
    EXPECT_EQ(Files::content("/media/file"), "content");
    EXPECT_EQ(Files::content("/mnt/full/of/things"), "content");
    EXPECT_TRUE(fs::is_symlink("/media/link"));
}

TEST_F(ShutdownTest, LeavesWhatIsInUseMountedAndSaysNothing)
{
    machine.addInternal("sda1", Images::ext4("disk", "disk", {"open.txt"}));
    start();
    const std::ifstream inUse("/media/C:/open.txt");
    stop();
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda1");
    EXPECT_FALSE(fs::exists(Paths::PidFile));
}

TEST_F(ShutdownTest, UnmountsEachDirectoryOnceAndReachesNothingDeeper)
{
    start();
    mountForeign("/media/stack");
    mountForeign("/media/stack");
    mountForeign("/mnt/outer");
    mountForeign("/mnt/outer/inner");
    stop();
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/stack", "/mnt/outer", "/mnt/outer/inner"));
}

/// Somebody mounts a disk on a root, as users do.
TEST_F(ShutdownTest, RemovesNoDirectoryOnADiskThatWasMountedOverARoot)
{
    machine.addInternal("sda1", Images::ext4("disk", "disk"));
    start();
    for (const char* root : {"/mnt", "/media"}) {
        const std::string image = Images::ext4(fs::path(root).filename(), "foreign", {"empty/"});
        Images::mount(image, root);
    }
    stop();
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    for (const char* root : {"/mnt", "/media"}) {
        EXPECT_THAT(Files::namesIn(root), IsEmpty());
        Images::mount("/tmp/images" + std::string(root), "/root");
        EXPECT_TRUE(fs::is_directory("/root/empty")) << root;
        ASSERT_EQ(umount("/root"), 0);
    }
}

TEST_F(ShutdownTest, RemovesNothingOnADiskOverARootThatIsInUse)
{
    start();
    mountForeign("/media");
    fs::create_directories("/media/empty");
    mountForeign("/media/on it");
    Files::write("/media/open.txt", "");
    const std::ifstream inUse("/media/open.txt");
    stop();
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media"));
    EXPECT_TRUE(fs::is_directory("/media/empty"));
    EXPECT_TRUE(fs::is_directory("/media/on it"));
}

TEST_F(ShutdownTest, FollowsNoLinkOnAMediumThatLiesOverARoot)
{
    start();
    mountForeign("/elsewhere");
    mountForeign("/media");
    fs::create_directory_symlink("/elsewhere", "/media/link");
    stop();
    EXPECT_EQ(KernelMounts::sourceAt("/elsewhere"), "foreign");
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
}

TEST_F(ShutdownTest, KeepsARootThatWasAMountBefore)
{
    mountForeign("/media");
    machine.addInternal("sda1", Images::ext4("disk", "disk"));
    start();
    EXPECT_EQ(KernelMounts::sourceAt("/media/C:"), "/dev/sda1");
    stop();
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media"));
    EXPECT_EQ(ServiceLog::directoriesTakenDown(), std::vector<std::string>{"/media/C:"});
}

TEST_F(ShutdownTest, LeavesTheContentOfEveryFileSystemAsItWas)
{
    const Images::Entries entries = {"Windows/", "Windows/win.ini", "empty/", ".hidden"};
    machine.addInternal("sda1", Images::ntfs("os", "OS", entries));
    machine.addInternal("sda2", Images::ext4("linux", "linux", entries));
    start();
    stop();
    for (const char* image : {"os", "linux"}) {
        SCOPED_TRACE(image);
        Images::mount(std::string("/tmp/images/") + image, "/root");
        EXPECT_EQ(Files::content("/root/Windows/win.ini"), "Windows/win.ini");
        EXPECT_EQ(Files::content("/root/.hidden"), ".hidden");
        EXPECT_TRUE(fs::is_empty("/root/empty"));
        EXPECT_THAT(Files::namesIn("/root"), testing::IsSupersetOf({".hidden", "Windows", "empty"}));
        EXPECT_LE(Files::namesIn("/root").size(), 4U) << "lost+found, and nothing else";
        ASSERT_EQ(umount("/root"), 0);
    }
}
