// Real mounts of the NTFS driver: runs in the sandbox. That a device is gone is said by a sysfs of the test's
// own.

#include <filesystem>
#include <fstream>

#include <sys/mount.h>
#include <sys/sysmacros.h>

#include <gmock/gmock.h>

#include "kernel/LoopDevice.h"
#include "kernel/MountTable.h"
#include "provider/today/DeadMounts.h"
#include "provider/today/TodaySource.h"
#include "tests/provider/today/FakeSysfs.h"
#include "tests/support/Images.h"
#include "tests/support/KernelMounts.h"
#include "tests/support/Process.h"
#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A stick with NTFS, mounted by its driver.
class MountedStick
{
public:
    MountedStick(const std::string& node, const std::string& directory)
        : _loop(Images::ntfs(node, "STICK"), node)
        , _directory(directory)
    {
        fs::create_directories(directory);
        const ProcessResult mounted = runProgram({"ntfs-3g", "/dev/" + node, directory});
        if (mounted.status != 0) {
            throw std::runtime_error("ntfs-3g: " + mounted.output);
        }
    }
    ~MountedStick() { umount2(_directory.c_str(), MNT_DETACH); }
    MountedStick(const MountedStick&) = delete;
    MountedStick& operator=(const MountedStick&) = delete;

    /// As sysfs writes it.
    std::string number() const
    {
        return std::to_string(major(_loop.number())) + ":" + std::to_string(minor(_loop.number()));
    }

private:
    LoopDevice _loop;
    std::string _directory;
};

/// Announces what a test wants.
class Announcer : public DeviceSource
{
public:
    void start() override { Q_EMIT ready(); }
    std::vector<const Device*> devices() const override { return {&_device}; }
    void add() { Q_EMIT added(_device.objectPath); }
    void remove() { Q_EMIT removed(_device.objectPath); }

private:
    Device _device{QStringLiteral("/device"), 0, {}, {}, 0};
};

class DeadMountsTest : public testing::Test
{
protected:
    void SetUp() override
    {
        const auto root = KernelMounts::at("/");
        if (!root || root->source != "sandbox") {
            GTEST_SKIP() << "this runs only in tests/support/sandbox";
        }
        for (const char* needed : {"/dev/loop-control", "/dev/fuse"}) {
            if (!std::fstream(needed, std::ios::in | std::ios::out).is_open()) {
                GTEST_SKIP() << "there is no " << needed;
            }
        }
    }

    std::vector<std::string> takeAway() const
    {
        std::vector<std::string> lines;
        MountTable mounts;
        const auto dead = DeadMounts::among(mounts.read(), BlockStack(Sysfs(sysfs.path())));
        for (const QString& line : DeadMounts::takeAway(dead)) {
            lines.push_back(line.toStdString());
        }
        return lines;
    }

    FakeSysfs sysfs;
};

} // namespace

TEST_F(DeadMountsTest, AreTakenAwayWithTheirDirectory)
{
    const MountedStick stick("sdb1", "/media/STICK");
    EXPECT_THAT(takeAway(), ElementsAre("/media/STICK is taken away: its device is gone"));
    EXPECT_THAT(KernelMounts::directories(), IsEmpty());
    EXPECT_FALSE(fs::exists("/media/STICK"));
    EXPECT_THAT(takeAway(), IsEmpty());
}

TEST_F(DeadMountsTest, AreTakenAwayWhileAFileIsOpen)
{
    const MountedStick stick("sdb1", "/media/STICK");
    const std::ofstream open("/media/STICK/file");
    EXPECT_EQ(takeAway().size(), 1U);
    EXPECT_FALSE(fs::exists("/media/STICK"));
}

TEST_F(DeadMountsTest, AreNotWhatHasItsDevice)
{
    const MountedStick stick("sdb1", "/media/STICK");
    sysfs.addDisk("sdb1", stick.number());
    EXPECT_THAT(takeAway(), IsEmpty());
    EXPECT_EQ(KernelMounts::sourceAt("/media/STICK"), "/dev/sdb1");
    sysfs.remove(stick.number());
    EXPECT_EQ(takeAway().size(), 1U);
}

TEST_F(DeadMountsTest, AreNotKnownWithoutSysfs)
{
    const MountedStick stick("sdb1", "/media/STICK");
    fs::remove_all(sysfs.path() + "/dev");
    EXPECT_THAT(takeAway(), IsEmpty());
    EXPECT_EQ(KernelMounts::sourceAt("/media/STICK"), "/dev/sdb1");
}

TEST_F(DeadMountsTest, AreNeverOutsideMedia)
{
    const MountedStick deeper("sdb1", "/media/a/STICK");
    const MountedStick elsewhere("sdc1", "/mnt/STICK");
    EXPECT_THAT(takeAway(), IsEmpty());
    EXPECT_EQ(KernelMounts::sourceAt("/media/a/STICK"), "/dev/sdb1");
    EXPECT_EQ(KernelMounts::sourceAt("/mnt/STICK"), "/dev/sdc1");
}

TEST_F(DeadMountsTest, HaveHostileNames)
{
    const std::string name = "/media/a\\040b\n\x1b[2J c";
    const MountedStick stick("sdb1", name);
    EXPECT_THAT(takeAway(), ElementsAre("/media/a\\040b\\x0a\\x1b[2J c is taken away: its device is gone"));
    EXPECT_FALSE(fs::exists(name));
}

TEST_F(DeadMountsTest, StayUnderWhatIsMountedOverThem)
{
    const MountedStick stick("sdb1", "/media/STICK");
    ASSERT_EQ(mount("above", "/media/STICK", "tmpfs", 0, ""), 0);
    EXPECT_THAT(takeAway(), IsEmpty());
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/STICK", "/media/STICK"));
    ASSERT_EQ(umount("/media/STICK"), 0);
    EXPECT_EQ(takeAway().size(), 1U);
}

TEST_F(DeadMountsTest, AreTakenAwayOneAfterTheOtherWhereTheyLieOnEachOther)
{
    const MountedStick below("sdb1", "/media/STICK");
    const MountedStick above("sdc1", "/media/STICK");
    EXPECT_EQ(takeAway().size(), 2U);
    EXPECT_FALSE(fs::exists("/media/STICK"));
}

TEST_F(DeadMountsTest, AreNotLookedForThroughALinkOnAnotherMedium)
{
    const MountedStick stick("sdb1", "/media/STICK");
    fs::create_directories("/elsewhere");
    ASSERT_EQ(mount("elsewhere", "/elsewhere", "tmpfs", 0, ""), 0);
    ASSERT_EQ(mount("over", "/media", "tmpfs", 0, ""), 0);
    fs::create_directory_symlink("/elsewhere", "/media/STICK");
    EXPECT_THAT(takeAway(), IsEmpty());
    EXPECT_EQ(KernelMounts::sourceAt("/elsewhere"), "elsewhere");
    EXPECT_TRUE(fs::is_symlink("/media/STICK"));
    ASSERT_EQ(umount("/media"), 0);
    ASSERT_EQ(umount("/elsewhere"), 0);
}

TEST_F(DeadMountsTest, LeaveADirectoryThatIsNotEmpty)
{
    fs::create_directories("/media/STICK/kept");
    const MountedStick stick("sdb1", "/media/STICK");
    EXPECT_EQ(takeAway().size(), 1U);
    EXPECT_TRUE(fs::exists("/media/STICK/kept"));
    fs::remove_all("/media/STICK");
}

TEST_F(DeadMountsTest, AreGoneBeforeAnotherDeviceIsAnnounced)
{
    Announcer source;
    TodaySource today(source, Rules::allBut({}), BlockStack(Sysfs(sysfs.path())));
    today.start();
    const MountedStick stick("sdb1", "/media/STICK");
    bool isSeen = false;
    QObject::connect(&today, &DeviceSource::added, [&] { isSeen = !fs::exists("/media/STICK"); });
    source.add();
    EXPECT_TRUE(isSeen);
}

TEST_F(DeadMountsTest, AreGoneAsSoonAsTheirDeviceIs)
{
    Announcer source;
    TodaySource today(source, Rules::allBut({}), BlockStack(Sysfs(sysfs.path())));
    std::vector<std::string> lines;
    QObject::connect(&today, &TodaySource::noted,
                     [&](const QString& line) { lines.push_back(line.toStdString()); });
    today.start();
    const MountedStick first("sdb1", "/media/FIRST");
    source.remove();
    EXPECT_FALSE(fs::exists("/media/FIRST"));

    const MountedStick second("sdc1", "/media/SECOND");
    sysfs.addDisk("sdc1", second.number());
    source.remove();
    EXPECT_TRUE(fs::exists("/media/SECOND"));
    sysfs.remove(second.number());
    EXPECT_TRUE(waitFor([] { return !fs::exists("/media/SECOND"); }));
    EXPECT_THAT(lines, ElementsAre("/media/FIRST is taken away: its device is gone",
                                   "/media/SECOND is taken away: its device is gone"));
}

TEST_F(DeadMountsTest, OfAnEarlierRunAreTakenAwayAtTheStart)
{
    const MountedStick stick("sdb1", "/media/STICK");
    Announcer source;
    TodaySource today(source, Rules::allBut({}), BlockStack(Sysfs(sysfs.path())));
    today.start();
    EXPECT_FALSE(fs::exists("/media/STICK"));
}

TEST_F(DeadMountsTest, StayWithoutTheRule)
{
    const MountedStick stick("sdb1", "/media/STICK");
    Announcer source;
    TodaySource today(source, Rules::allBut({QStringLiteral("dead-mounts")}),
                      BlockStack(Sysfs(sysfs.path())));
    today.start();
    source.add();
    source.remove();
    EXPECT_TRUE(fs::exists("/media/STICK"));
    EXPECT_THAT(KernelMounts::directories(), ElementsAre("/media/STICK"));
}
