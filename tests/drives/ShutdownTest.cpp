#include <cerrno>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include "drives/DriveManager.h"
#include "tests/support/KernelDoor.h"
#include "tests/support/LogWatch.h"
#include "tests/support/MachineProvider.h"
#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

class ShutdownTest : public testing::Test
{
protected:
    ShutdownTest() { KernelDoor::reset(); }

    static DriveManager& manager()
    {
        DriveManager* manager = DriveManager::instance();
        LogWatch::begin(7);
        return *manager;
    }

    /// Names in `directory` as the file system yields them.
    static std::vector<std::string> namesIn(const std::string& directory)
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(directory)) {
            names.push_back(entry.path());
        }
        return names;
    }
};

TEST_F(ShutdownTest, SaysNothingWhenBothRootsAreEmpty)
{
    manager().shutdown();
    EXPECT_THAT(KernelDoor::calls(), IsEmpty());
    EXPECT_THAT(LogWatch::messages(7), IsEmpty());
    EXPECT_TRUE(fs::is_directory("/media"));
    EXPECT_TRUE(fs::is_directory("/mnt"));
}

TEST_F(ShutdownTest, UnmountsAndRemovesEveryDirectoryInDirectoryOrderHiddenOnesToo)
{
    for (const char* name : {"/mnt/sda1", "/mnt/sda2", "/mnt/.hidden", "/mnt/zz", "/mnt/aa"}) {
        fs::create_directories(name);
    }
    const std::vector<std::string> names = namesIn("/mnt");
    std::vector<std::string> messages;
    std::vector<std::string> calls;
    for (const std::string& name : names) {
        messages.push_back("\"" + name + "\" ");
        calls.push_back("umount(" + name + ")");
    }
    manager().shutdown();
    EXPECT_EQ(LogWatch::messages(7), messages);
    EXPECT_EQ(KernelDoor::calls(), calls);
    EXPECT_TRUE(fs::is_empty("/mnt"));
}

TEST_F(ShutdownTest, TakesTheRootForExternalFileSystemsFirst)
{
    fs::create_directories("/mnt/sda1");
    fs::create_directories("/media/C:");
    manager().shutdown();
    EXPECT_THAT(KernelDoor::calls(), ElementsAre("umount(/media/C:)", "umount(/mnt/sda1)"));
}

TEST_F(ShutdownTest, LeavesFilesAndLinksToFilesAlone)
{
    std::ofstream("/media/file") << "x";
    fs::create_symlink("/media/file", "/media/link");
    manager().shutdown();
    EXPECT_THAT(KernelDoor::calls(), IsEmpty());
    EXPECT_THAT(namesIn("/media"), UnorderedElementsAre("/media/file", "/media/link"));
}

TEST_F(ShutdownTest, KeepsADirectoryThatIsNotEmptyAndSaysNothing)
{
    fs::create_directories("/media/full/inside");
    KernelDoor::answer("umount(", -1, EINVAL);
    manager().shutdown();
    EXPECT_TRUE(fs::is_directory("/media/full/inside"));
    EXPECT_THAT(LogWatch::messages(5), IsEmpty());
}

TEST_F(ShutdownTest, TriesAgainPlainlyWhatAPulledStickHasLeft)
{
    const MachineProvider devices(
        "[stick]\nNode = sdb1\nPlugged = false\nIdUsage = filesystem\nIdType = vfat\nIdLabel = DATA\n");
    DriveManager& manager = ShutdownTest::manager();
    KernelDoor::answer("umount2(", -1, EBUSY);
    LogWatch::expect("\"ERROR umount2: Device or resource busy\" ");
    MachineProvider::plug("stick");
    ASSERT_TRUE(waitFor([] { return KernelDoor::calls().size() == 1; }));
    MachineProvider::unplug("stick");
    ASSERT_TRUE(waitFor([] { return KernelDoor::calls().size() == 2; }));
    manager.shutdown();
    EXPECT_EQ(KernelDoor::calls().back(), "umount(/media/DATA)");
}

} // namespace
