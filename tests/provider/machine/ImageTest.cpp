// Real images on loop devices, real mounts: runs in the sandbox.

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <set>
#include <thread>

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "kernel/DeviceNode.h"
#include "kernel/LoopDevice.h"
#include "tests/provider/UDisksClient.h"
#include "tests/support/BusBeforeMain.h"
#include "tests/support/Images.h"
#include "tests/support/MachineProvider.h"
#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;
using namespace UDisksClient;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

bool isBlockDevice(const std::string& path)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 && S_ISBLK(status.st_mode);
}

dev_t numberOf(const std::string& node)
{
    struct stat status = {};
    return stat(node.c_str(), &status) == 0 ? status.st_rdev : 0;
}

/// Whether the kernel holds `image` attached.
bool isAttached(const std::string& image)
{
    for (const auto& entry : fs::directory_iterator("/sys/block")) {
        std::ifstream file(entry.path() / "loop/backing_file");
        std::string attached;
        if (std::getline(file, attached) && attached == image) {
            return true;
        }
    }
    return false;
}

/// A mount of this test's own, taken down with the object.
class Mount
{
public:
    Mount(const std::string& source, const std::string& directory, const char* type, unsigned long flags = 0)
        : _directory(directory)
    {
        fs::create_directories(directory);
        if (mount(source.c_str(), directory.c_str(), type, flags, nullptr) != 0) {
            throw std::runtime_error("cannot mount " + source + ": " + std::strerror(errno));
        }
    }
    ~Mount() { umount2(_directory.c_str(), MNT_DETACH); }
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;

private:
    std::string _directory;
};

class ImageTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (busBeforeMain() == nullptr) {
            GTEST_SKIP() << "dbus-daemon is not installed";
        }
        if (!fs::exists("/dev/loop-control")) {
            GTEST_SKIP() << "this kernel has no loop devices";
        }
    }

    std::string image(const std::string& name, std::vector<std::string> formatter) const
    {
        return Images::formatted(directory.path() + "/" + name, std::move(formatter));
    }

    std::string ext4(const std::string& label = "DATA") const
    {
        return image("ext4.img",
                     {"mkfs.ext4", "-q", "-L", label, "-U", "01234567-89ab-cdef-0123-456789abcdef"});
    }

    QStringList mountPaths(const std::string& device) const
    {
        return property(device, "DeviceMountPaths").toStringList();
    }

    TemporaryDirectory directory;
};

} // namespace

TEST_F(ImageTest, AttachesTheImageUnderItsNode)
{
    const std::string file = ext4();
    const MachineProvider provider("[sdb1]\nImage = " + file + "\n");
    EXPECT_TRUE(isBlockDevice("/dev/sdb1"));
    EXPECT_EQ(fs::status("/dev/sdb1").permissions() & fs::perms::others_all, fs::perms::none);
    EXPECT_TRUE(isAttached(file));
    EXPECT_EQ(deviceIn(callDaemon("FindDeviceByMajorMinor", {qlonglong(major(numberOf("/dev/sdb1"))),
                                                             qlonglong(minor(numberOf("/dev/sdb1")))})),
              "sdb1");
}

TEST_F(ImageTest, RecognisesExt4)
{
    const MachineProvider provider("[sdb1]\nImage = " + ext4("MY DATA") + "\n");
    EXPECT_EQ(text("sdb1", "IdType").toStdString(), "ext4");
    EXPECT_EQ(text("sdb1", "IdUsage").toStdString(), "filesystem");
    EXPECT_EQ(text("sdb1", "IdVersion").toStdString(), "1.0");
    EXPECT_EQ(text("sdb1", "IdLabel").toStdString(), "MY DATA");
    EXPECT_EQ(text("sdb1", "IdUuid").toStdString(), "01234567-89ab-cdef-0123-456789abcdef");
    EXPECT_EQ(property("sdb1", "DeviceSize"), QVariant(qulonglong(16 << 20)));
    EXPECT_EQ(property("sdb1", "DeviceBlockSize"), QVariant(qulonglong(512)));
}

TEST_F(ImageTest, RecognisesNtfs)
{
    if (runProgram({"mkfs.ntfs", "--version"}).status == 127) {
        GTEST_SKIP() << "mkfs.ntfs is not installed";
    }
    const std::string file = image("ntfs.img", {"mkfs.ntfs", "-q", "-F", "-f", "-L", "B\xc3\xbc\x63her / 1"});
    const MachineProvider provider("[sdb1]\nImage = " + file + "\n");
    EXPECT_EQ(text("sdb1", "IdType").toStdString(), "ntfs");
    EXPECT_EQ(text("sdb1", "IdLabel").toStdString(), "B\xc3\xbc\x63her / 1");
    EXPECT_THAT(text("sdb1", "IdUuid").toStdString(), testing::MatchesRegex("[0-9A-F]{16}"));
    EXPECT_EQ(text("sdb1", "PartitionType").toStdString(), "0x07");
}

TEST_F(ImageTest, RecognisesThePartitionTableOfADisk)
{
    const std::string file = image("disk.img", {"true"});
    std::ofstream table(file, std::ios::in | std::ios::out | std::ios::binary);
    table.seekp(446);
    table.write("\0\0\2\0\x07\0\0\0\0\x08\0\0\0\x10\0\0", 16);
    table.seekp(510);
    table.write("\x55\xaa", 2);
    table.close();
    const MachineProvider provider("[sdb]\nImage = " + file + "\n");
    EXPECT_EQ(property("sdb", "DeviceIsPartitionTable"), QVariant(true));
    EXPECT_EQ(text("sdb", "PartitionTableScheme").toStdString(), "mbr");
    EXPECT_EQ(text("sdb", "IdUsage").toStdString(), "");
}

TEST_F(ImageTest, ShowsWhereTheDeviceIsMountedAtEveryRead)
{
    const MachineProvider provider("[sdb1]\nImage = " + ext4() + "\n");
    EXPECT_EQ(property("sdb1", "DeviceIsMounted"), QVariant(false));
    EXPECT_THAT(mountPaths("sdb1"), IsEmpty());
    {
        const Mount first("/dev/sdb1", "/tmp/mounts/a b", "ext4");
        const Mount second("/dev/sdb1", "/tmp/mounts/\xc3\xbc", "ext4");
        const Mount third("/dev/sdb1", "/tmp/mounts/a", "ext4");
        EXPECT_EQ(property("sdb1", "DeviceIsMounted"), QVariant(true));
        EXPECT_THAT(mountPaths("sdb1"),
                    ElementsAre(QStringLiteral("/tmp/mounts/\u00fc"), QStringLiteral("/tmp/mounts/a b"),
                                QStringLiteral("/tmp/mounts/a")));
    }
    EXPECT_THAT(mountPaths("sdb1"), IsEmpty());
}

TEST_F(ImageTest, ShowsEachChangeOfTheMountTableAtTheNextRead)
{
    const MachineProvider provider("[sdb1]\nImage = " + ext4() + "\n");
    fs::create_directories("/tmp/mounts/moved");
    for (int round = 0; round < 20; ++round) {
        {
            const Mount mounted("/dev/sdb1", "/tmp/mounts/here", "ext4");
            ASSERT_THAT(mountPaths("sdb1"), ElementsAre(QStringLiteral("/tmp/mounts/here")));
            ASSERT_EQ(property("sdb1", "DeviceIsMounted"), QVariant(true));
            const Mount moved("/tmp/mounts/here", "/tmp/mounts/moved", nullptr, MS_MOVE);
            ASSERT_THAT(mountPaths("sdb1"), ElementsAre(QStringLiteral("/tmp/mounts/moved")));
        }
        ASSERT_THAT(mountPaths("sdb1"), IsEmpty());
    }
}

TEST_F(ImageTest, FollowsAMountPointWhoseParentIsRenamed)
{
    const MachineProvider provider("[sdb1]\nImage = " + ext4() + "\n");
    const Mount mounted("/dev/sdb1", "/tmp/before/here", "ext4");
    ASSERT_THAT(mountPaths("sdb1"), ElementsAre(QStringLiteral("/tmp/before/here")));
    fs::rename("/tmp/before", "/tmp/after");
    EXPECT_THAT(mountPaths("sdb1"), ElementsAre(QStringLiteral("/tmp/after/here")));
    fs::rename("/tmp/after", "/tmp/before");
}

TEST_F(ImageTest, StaysTheDeviceThatItIsWhenAPropertyChanges)
{
    MachineProvider provider("[disk]\nNode = nvme0n1p1\nImage = " + ext4("OLD") + "\n");
    const std::vector<const char*> kept{"DeviceMajor", "DeviceMinor", "DeviceSize", "IdType", "IdUuid"};
    QVariantList before;
    QVariantList after;
    for (const char* name : kept) {
        before += property("nvme0n1p1", name);
    }
    const Mount mounted("/dev/nvme0n1p1", "/tmp/mounts/disk", "ext4");
    provider.set("disk", "IdLabel", "NEW");
    for (const char* name : kept) {
        after += property("nvme0n1p1", name);
    }
    EXPECT_EQ(after, before);
    EXPECT_EQ(text("nvme0n1p1", "IdLabel").toStdString(), "NEW");
    EXPECT_THAT(mountPaths("nvme0n1p1"), ElementsAre(QStringLiteral("/tmp/mounts/disk")));
}

TEST_F(ImageTest, DoesNotCountABindOfAPart)
{
    const MachineProvider provider("[sdb1]\nImage = " + ext4() + "\n");
    const Mount whole("/dev/sdb1", "/tmp/mounts/whole", "ext4");
    const Mount part("/tmp/mounts/whole/lost+found", "/tmp/mounts/part", nullptr, MS_BIND);
    EXPECT_THAT(mountPaths("sdb1"), ElementsAre(QStringLiteral("/tmp/mounts/whole")));
}

TEST_F(ImageTest, CountsAMountByNtfs3g)
{
    if (runProgram({"ntfs-3g", "--version"}).status == 127 || !fs::exists("/dev/fuse")) {
        GTEST_SKIP() << "ntfs-3g or FUSE is not there";
    }
    const std::string file = image("ntfs.img", {"mkfs.ntfs", "-q", "-F", "-f"});
    const MachineProvider provider("[sdb1]\nImage = " + file + "\n");
    fs::create_directories("/tmp/mounts/ntfs");
    const ProcessResult mounted = runProgram({"ntfs-3g", "/dev/sdb1", "/tmp/mounts/ntfs"});
    ASSERT_EQ(mounted.status, 0) << mounted.output;
    EXPECT_THAT(mountPaths("sdb1"), ElementsAre(QStringLiteral("/tmp/mounts/ntfs")));
    umount("/tmp/mounts/ntfs");
}

TEST_F(ImageTest, TakesNodeAndLoopDeviceAwayWhenItIsPulled)
{
    const std::string file = ext4();
    MachineProvider provider("[stick]\nNode = sdb1\nImage = " + file + "\n");
    provider.unplug("stick");
    EXPECT_FALSE(fs::exists("/dev/sdb1"));
    EXPECT_TRUE(waitFor([&] { return !isAttached(file); }));
    provider.plug("stick");
    EXPECT_TRUE(isBlockDevice("/dev/sdb1"));
}

TEST_F(ImageTest, KeepsWhatIsMountedWhenItIsPulled)
{
    const std::string file = ext4();
    MachineProvider provider("[stick]\nNode = sdb1\nImage = " + file + "\n");
    {
        const Mount mount("/dev/sdb1", "/tmp/mounts/stick", "ext4");
        provider.unplug("stick");
        EXPECT_FALSE(fs::exists("/dev/sdb1"));
        EXPECT_TRUE(fs::exists("/tmp/mounts/stick/lost+found"));
        EXPECT_TRUE(isAttached(file));
    }
    EXPECT_TRUE(waitFor([&] { return !isAttached(file); }));
}

TEST_F(ImageTest, LeavesNothingBehindWhenItIsEnded)
{
    const std::string file = ext4();
    MachineProvider provider("[lv]\nNode = mapper/deep/vg-lv\nImage = " + file + "\n");
    EXPECT_TRUE(isBlockDevice("/dev/mapper/deep/vg-lv"));
    provider.process().send(SIGTERM);
    EXPECT_EQ(provider.process().waitForEnd(), 0);
    EXPECT_FALSE(fs::exists("/dev/mapper"));
    EXPECT_TRUE(waitFor([&] { return !isAttached(file); }));
}

TEST_F(ImageTest, FreesTheLoopDeviceEvenWhenItIsKilled)
{
    const std::string file = ext4();
    MachineProvider provider("[sdb1]\nImage = " + file + "\n");
    provider.process().send(SIGKILL);
    EXPECT_EQ(provider.process().waitForEnd(), 128 + SIGKILL);
    EXPECT_TRUE(waitFor([&] { return !isAttached(file); }));
    unlink("/dev/sdb1");
}

TEST_F(ImageTest, TakesNobodysLoopDevice)
{
    constexpr int Count = 16;
    const std::string file = ext4();
    std::vector<std::unique_ptr<LoopDevice>> devices(Count);
    std::vector<std::thread> threads;
    threads.reserve(Count);
    for (size_t at = 0; at < Count; ++at) {
        threads.emplace_back(
            [&, at] { devices[at] = std::make_unique<LoopDevice>(file, "many" + std::to_string(at)); });
    }
    std::set<dev_t> numbers;
    for (size_t at = 0; at < Count; ++at) {
        threads[at].join();
        numbers.insert(devices[at]->number());
    }
    EXPECT_EQ(numbers.size(), devices.size());
}

TEST_F(ImageTest, LeavesNoDirectoryOfANodeThatCannotBeMade)
{
    EXPECT_THROW(DeviceNode("made/" + std::string(300, 'x'), makedev(7, 0)), std::runtime_error);
    EXPECT_FALSE(fs::exists("/dev/made"));
}

TEST_F(ImageTest, ReplacesNoNodeThatIsThere)
{
    const std::string file = ext4();
    std::ofstream("/dev/sdb1") << "mine";
    MachineProvider provider("[stick]\nNode = sdb1\nPlugged = false\nImage = " + file + "\n");
    std::string refusal;
    try {
        provider.plug("stick");
    } catch (const std::runtime_error& error) {
        refusal = error.what();
    }
    EXPECT_EQ(refusal, "[stick] /dev/sdb1 exists already and is not replaced");
    EXPECT_EQ(fs::file_size("/dev/sdb1"), 4U);
    EXPECT_FALSE(isAttached(file));
    unlink("/dev/sdb1");
    provider.plug("stick");
    EXPECT_TRUE(isBlockDevice("/dev/sdb1"));
}

TEST_F(ImageTest, RemovesNoNodeThatSomebodyElseMade)
{
    MachineProvider provider("[stick]\nNode = sdb1\nImage = " + ext4() + "\n");
    unlink("/dev/sdb1");
    std::ofstream("/dev/sdb1") << "mine";
    provider.unplug("stick");
    EXPECT_TRUE(fs::exists("/dev/sdb1"));
    unlink("/dev/sdb1");
    provider.plug("stick");
    unlink("/dev/sdb1");
    ASSERT_EQ(mknod("/dev/sdb1", S_IFBLK | 0600, makedev(7, 9999)), 0);
    provider.unplug("stick");
    EXPECT_TRUE(isBlockDevice("/dev/sdb1"));
    unlink("/dev/sdb1");
}
