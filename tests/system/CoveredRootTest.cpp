#include <algorithm>
#include <csignal>
#include <filesystem>

#include <sys/mount.h>

#include "tests/support/Files.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/support/WaitFor.h"
#include "tests/system/SystemTest.h"

namespace fs = std::filesystem;

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// The directories in `root` that have one of these names, in the order in which the root yields them.
std::vector<std::string> inDirectoryOrder(const std::string& root, const std::vector<std::string>& names)
{
    std::vector<std::string> result;
    for (const auto& entry : fs::directory_iterator(root)) {
        if (std::find(names.begin(), names.end(), entry.path().filename()) != names.end()) {
            result.push_back(entry.path());
        }
    }
    return result;
}

void bind(const std::string& from, const std::string& to)
{
    ASSERT_EQ(mount(from.c_str(), to.c_str(), nullptr, MS_BIND, nullptr), 0);
}

} // namespace

/// A medium without a name lies over a root, and others are mounted on it.
class CoveredRootTest : public MachineTest
{
protected:
    void plugAndExpect(const std::string& node, const std::string& directory)
    {
        machine.plug(node);
        EXPECT_TRUE(waitFor([&] { return KernelMounts::sourceAt(directory) == "/dev/" + node; }))
            << service().output();
    }

    /// An image that goes over /media when it is plugged in as sdb1.
    void addNameless(const Images::Entries& entries)
    {
        machine.addUnplugged("sdb1", Images::ext4("nameless", "", entries), {"IdUuid ="});
    }

    /// The directories on that image; it is not mounted any more.
    static std::vector<std::string> namesOnNameless()
    {
        EXPECT_THAT(KernelMounts::directories(), IsEmpty());
        Images::mount("/tmp/images/nameless", "/root");
        std::vector<std::string> result = Files::namesIn("/root");
        EXPECT_EQ(umount("/root"), 0);
        return result;
    }
};

TEST_F(CoveredRootTest, IsUncoveredFirst)
{
    addNameless({"photos/", "empty/"});
    machine.addInternal("sda1", Images::ext4("disk", "disk"));
    start();
    plugAndExpect("sdb1", "/media");
    EXPECT_THAT(Files::namesIn("/media"), ElementsAre("empty", "lost+found", "photos"));
    stop();
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
    EXPECT_THAT(namesOnNameless(), ElementsAre("empty", "lost+found", "photos"))
        << "directories on the stick are not leftovers";
}

TEST_F(CoveredRootTest, IsFreeAgainWhenItsMediumIsPulled)
{
    addNameless({});
    machine.addUnplugged("sdc1", Images::ext4("other", "OTHER"));
    start();
    plugAndExpect("sdb1", "/media");
    machine.unplug("sdb1");
    EXPECT_TRUE(waitFor([] { return KernelMounts::sourceAt("/media") == "nothing"; }));
    EXPECT_TRUE(fs::is_directory("/media")) << "a root is never removed";
    plugAndExpect("sdc1", "/media/OTHER");
    stop();
}

TEST_F(CoveredRootTest, ThatSomebodyUncoveredComesToItsUsualEnd)
{
    machine.addUnplugged("sdb1", Images::ntfs("stick", ""), {"IdUuid ="});
    machine.addInternal("sda1", Images::ext4("disk", "disk"));
    start();
    plugAndExpect("sdb1", "/media");
    ASSERT_EQ(umount("/media"), 0);
    stop();
    EXPECT_EQ(ServiceLog::count("\"/media/C:\""), 1);
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
}

TEST_F(CoveredRootTest, StopNamesEachMountAndRemovesWhatTheServiceMadeAndNothingOfTheMedium)
{
    addNameless({"photos/", "empty/", "OWN/"});
    machine.addUnplugged("sdc1", Images::ext4("made", "STICK"));
    machine.addUnplugged("sdd1", Images::ntfs("ntfs", "NTFS"));
    machine.addUnplugged("sde1", Images::ext4("own", "OWN"));
    start();
    plugAndExpect("sdb1", "/media");
    plugAndExpect("sdc1", "/media/STICK");
    plugAndExpect("sdd1", "/media/NTFS");
    plugAndExpect("sde1", "/media/OWN");
    const std::vector<std::string> expected = inDirectoryOrder("/media", {"STICK", "NTFS", "OWN"});
    stop();
    EXPECT_EQ(ServiceLog::directoriesTakenDown(), expected);
    EXPECT_THAT(namesOnNameless(), ElementsAre("OWN", "empty", "lost+found", "photos"));
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
}

TEST_F(CoveredRootTest, StopRemovesTheDirectoryOfAFailedMountWhenItIsEmpty)
{
    addNameless({});
    for (const char* node : {"sdc1", "sdd1"}) {
        machine.addUnplugged(node, Images::blank(node),
                             {"IdType = nonsense", "IdUsage = filesystem", std::string("IdLabel = ") + node});
    }
    start();
    plugAndExpect("sdb1", "/media");
    for (const char* node : {"sdc1", "sdd1"}) {
        expectQuotedWarning("ERROR mount: No such device");
        machine.plug(node);
    }
    ASSERT_TRUE(waitFor([] { return ServiceLog::count("\"ERROR mount: No such device\"") == 2; }));
    Files::write("/media/sdd1/precious", "");
    const std::vector<std::string> expected = inDirectoryOrder("/media", {"sdc1", "sdd1"});
    stop();
    EXPECT_EQ(ServiceLog::directoriesTakenDown(), expected);
    EXPECT_THAT(namesOnNameless(), ElementsAre("lost+found", "sdd1"));
}

TEST_F(CoveredRootTest, DirectoryThatWentWithItsStickIsForgotten)
{
    addNameless({});
    machine.addUnplugged("sdc1", Images::ext4("made", "STICK"));
    start();
    plugAndExpect("sdb1", "/media");
    plugAndExpect("sdc1", "/media/STICK");
    machine.unplug("sdc1");
    ASSERT_TRUE(waitFor([] { return !Files::isListed("/media/STICK"); }));
    fs::create_directory("/media/STICK");
    stop();
    EXPECT_THAT(ServiceLog::directoriesTakenDown(), IsEmpty());
    EXPECT_THAT(namesOnNameless(), ElementsAre("STICK", "lost+found"));
}

TEST_F(CoveredRootTest, DirectoryOfTheSameNameOnTheMediumIsNotTheOneBelowIt)
{
    addNameless({"STICK/"});
    machine.addUnplugged("sdc1", Images::ext4("made", "STICK"));
    start();
    plugAndExpect("sdc1", "/media/STICK");
    plugAndExpect("sdb1", "/media");
    stop();
    EXPECT_THAT(ServiceLog::directoriesTakenDown(), ElementsAre("/media/STICK"));
    EXPECT_THAT(namesOnNameless(), ElementsAre("STICK", "lost+found"));
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
}

TEST_F(CoveredRootTest, TemporaryRootIsLeftInTheSameWay)
{
    machine.addUnplugged("sda2", Images::ext4("disk", "disk"), {"Internal = true"});
    fs::create_directories("/below/own");
    start();
    bind("/below", "/mnt");
    plugAndExpect("sda2", "/mnt/sda2");
    ASSERT_THAT(Files::namesIn("/below"), Contains("sda2"));
    stop();
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    EXPECT_THAT(ServiceLog::directoriesTakenDown(), ElementsAre("/mnt/sda2"));
    EXPECT_THAT(Files::namesIn("/below"), ElementsAre("own"));
}

TEST_F(CoveredRootTest, FileSystemOfTheRootMountedOverItAgainIsTakenDown)
{
    for (const bool isMountBefore : {false, true}) {
        SCOPED_TRACE(isMountBefore);
        if (isMountBefore) {
            mountForeign("/media");
        }
        const std::vector<std::string> before = KernelMounts::directories();
        Service service;
        ASSERT_TRUE(service.isReady());
        bind("/media", "/media");
        EXPECT_EQ(service.stop(SIGTERM), 0);
        EXPECT_EQ(KernelMounts::directories(), before);
    }
}

TEST_F(CoveredRootTest, MountThatTookThePlaceOfTheRootsOwnIsTakenDown)
{
    mountForeign("/media");
    Service service;
    ASSERT_TRUE(service.isReady());
    const std::string image = Images::ext4("other", "other");
    ASSERT_EQ(umount("/media"), 0);
    Images::mount(image, "/media"); // mostly with the number of the mount that has gone
    EXPECT_EQ(service.stop(SIGTERM), 0);
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
}

TEST_F(CoveredRootTest, IsUncoveredHoweverManyMediaLieOverIt)
{
    Service service;
    ASSERT_TRUE(service.isReady());
    for (int medium = 0; medium < 3; ++medium) {
        mountForeign("/media");
    }
    EXPECT_EQ(service.stop(SIGTERM), 0);
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
}

TEST_F(CoveredRootTest, ThatWasMadeAnewIsNoneAndIsTakenDownAsEver)
{
    Service service;
    ASSERT_TRUE(service.isReady());
    fs::rename("/media", "/other");
    fs::create_directories("/media/leftover");
    EXPECT_EQ(service.stop(SIGTERM), 0);
    EXPECT_THAT(ServiceLog::directoriesTakenDown(), ElementsAre("/media/leftover"));
    EXPECT_THAT(Files::namesIn("/media"), IsEmpty());
}
