// The shipped provider over the real libudev and the real udevd, with disk images on loop devices as the
// hardware that comes and goes. Runs in the sandbox, and there in a network of its own: that is where the
// kernel's and udev's announcements are heard.

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include <fcntl.h>
#include <linux/loop.h>
#include <linux/netlink.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include <QDBusObjectPath>

#include "kernel/Descriptor.h"
#include "provider/udev/LibUdev.h"
#include "tests/provider/UDisksClient.h"
#include "tests/support/BusBeforeMain.h"
#include "tests/support/Images.h"
#include "tests/support/MachineProvider.h"
#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;
using namespace UDisksClient;
using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr const char* UdevDaemon = "/lib/systemd/systemd-udevd";

/// The kernel's devices once more, writable: the sandbox's own are not.
const std::string SysfsCopy = "/tmp/sysfs";

/// The missing prerequisite of this machine, or nothing.
std::string missingPrerequisite()
{
    for (const char* program : {UdevDaemon, "/usr/sbin/sfdisk"}) {
        if (!fs::exists(program)) {
            return std::string(program) + " is not installed";
        }
    }
    if (busBeforeMain() == nullptr) {
        return "dbus-daemon is not installed";
    }
    return fs::exists("/dev/loop-control") ? "" : "this kernel has no loop devices";
}

/// udevd looks into every device that has a node. Those of others, attached meanwhile, must have none here.
void removeLoopNodes()
{
    for (const auto& entry : fs::directory_iterator("/dev")) {
        if (entry.is_block_file()) {
            unlink(entry.path().c_str());
        }
    }
}

int freeLoopDevice()
{
    const Descriptor control(open("/dev/loop-control", O_RDWR | O_CLOEXEC));
    return ioctl(control.get(), LOOP_CTL_GET_FREE);
}

/// Has the kernel announce a device once more.
void announceAgain(const std::string& name, const char* action)
{
    std::ofstream(fs::path(SysfsCopy) / "class/block" / name / "uevent") << action;
}

/// An image attached by losetup, as a disk with the partitions that are on it; `name` is loop0 or so.
class Disk
{
public:
    explicit Disk(const std::string& image)
    {
        for (int attempt = 0; attempt < 20 && _name.empty(); ++attempt) {
            attach(image, freeLoopDevice());
        }
        if (_name.empty()) {
            throw std::runtime_error("no free loop device");
        }
    }
    ~Disk() { detach(); }
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;

    const std::string& name() const { return _name; }
    std::string node() const { return "/dev/" + _name; }
    std::string partition(int number) const { return _name + "p" + std::to_string(number); }

    /// Finds its partitions (not every kernel does that by itself), makes their nodes, which are numbered as
    /// they come, and has udev look at them again.
    void findPartitions() const
    {
        runProgram({"partx", "--add", node()});
        for (const auto& entry : fs::directory_iterator("/sys/block/" + _name)) {
            const std::string name = entry.path().filename();
            if (fs::exists(entry.path() / "partition")) {
                unsigned majorNumber = 0;
                unsigned minorNumber = 0;
                char colon = 0;
                std::ifstream(entry.path() / "dev") >> majorNumber >> colon >> minorNumber;
                mknod(("/dev/" + name).c_str(), S_IFBLK | 0660, makedev(majorNumber, minorNumber));
                announceAgain(name, "change");
            }
        }
    }

    void detach()
    {
        if (!_name.empty()) {
            runProgram({"losetup", "-d", node()});
            removeNodes();
            _name.clear();
        }
    }

private:
    /// Its own and those of its partitions; another disk needs its node to be detached.
    void removeNodes() const
    {
        unlink(node().c_str());
        for (const auto& entry : fs::directory_iterator("/dev")) {
            if (entry.path().filename().string().rfind(_name + "p", 0) == 0) {
                unlink(entry.path().c_str());
            }
        }
    }

    void attach(const std::string& image, int number)
    {
        const std::string name = "loop" + std::to_string(number);
        const std::string node = "/dev/" + name;
        mknod(node.c_str(), S_IFBLK | 0660, makedev(7, static_cast<unsigned>(number)));
        if (runProgram({"losetup", "--partscan", node, image}).status == 0) {
            _name = name;
        } else {
            unlink(node.c_str());
        }
    }

    std::string _name;
};

/// The announcements of udev, byte for byte.
class Announcements
{
public:
    Announcements()
        : _socket(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT))
    {
        _address.nl_family = AF_NETLINK;
        _address.nl_groups = 2; // udev's; the kernel's is 1
        const timeval bound{5, 0};
        setsockopt(_socket.get(), SOL_SOCKET, SO_RCVTIMEO, &bound, sizeof(bound));
        if (bind(_socket.get(), address(), sizeof(_address)) != 0) {
            throw std::runtime_error("cannot listen to udev");
        }
    }

    /// Empty if there is none for seconds.
    std::string nextOf(const std::string& device) const
    {
        std::string message = next();
        while (!message.empty() && message.find("/block/" + device + '\0') == std::string::npos) {
            message = next();
        }
        return message;
    }
    void send(const std::string& message) const
    {
        sendto(_socket.get(), message.data(), message.size(), 0, address(), sizeof(_address));
    }

private:
    std::string next() const
    {
        std::string message(8192, '\0');
        const ssize_t length = recv(_socket.get(), message.data(), message.size(), 0);
        message.resize(static_cast<size_t>(std::max<ssize_t>(length, 0)));
        return message;
    }

    const sockaddr* address() const { return reinterpret_cast<const sockaddr*>(&_address); }

    Descriptor _socket;
    sockaddr_nl _address = {};
};

/// The elements that the first list has more often than the second.
std::vector<std::string> difference(std::vector<std::string> first, std::vector<std::string> second)
{
    std::sort(first.begin(), first.end());
    std::sort(second.begin(), second.end());
    std::vector<std::string> result;
    std::set_difference(first.begin(), first.end(), second.begin(), second.end(), std::back_inserter(result));
    return result;
}

class RealUdevTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        unshare(CLONE_NEWNET);
        fs::create_directories(SysfsCopy);
        mount("sysfs", SysfsCopy.c_str(), "sysfs", 0, nullptr);
    }

    void SetUp() override
    {
        const std::string missing = missingPrerequisite();
        if (!missing.empty()) {
            GTEST_SKIP() << missing;
        }
        removeLoopNodes();
        knowWhatIsThere();
        startUdev();
        startProvider();
    }

    /// udev has looked at the devices of this machine long ago.
    static void knowWhatIsThere()
    {
        fs::create_directories("/run/udev/data");
        for (const auto& device : fs::directory_iterator("/sys/class/block")) {
            std::string number;
            std::ifstream(device.path() / "dev") >> number;
            std::ofstream("/run/udev/data/b" + number) << "I:1\n";
        }
    }

    void startUdev()
    {
        udevd = std::make_unique<Process>(std::vector<std::string>{UdevDaemon}, directory.path() + "/udevd");
        ASSERT_TRUE(waitFor([] { return fs::exists("/run/udev/control"); }));
    }

    void startProvider()
    {
        // Loop devices are the disks here; without this they would not be offered.
        const std::vector<std::string> command{MachineProvider::Program, "--as-is=memory-devices"};
        provider = std::make_unique<Process>(command, directory.path() + "/output");
        ASSERT_TRUE(says("ready with")) << provider->output();
    }

    bool says(const std::string& text)
    {
        return waitFor([&] { return provider->output().find(text) != std::string::npos; }, 10s);
    }

    /// Each in a file of its own.
    std::string image(std::vector<std::string> formatter)
    {
        return Images::formatted(directory.path() + "/image" + std::to_string(++images),
                                 std::move(formatter));
    }

    std::string partitionedImage(const std::string& table)
    {
        return image({"bash", "-c", "printf '" + table + "' | sfdisk --quiet \"$0\""});
    }

    /// How many of the disk and its partitions are shown.
    static long enumeratedOf(const std::string& disk)
    {
        const std::vector<std::string> names = enumerate();
        return std::count_if(names.begin(), names.end(),
                             [&](const std::string& name) { return name.rfind(disk, 0) == 0; });
    }

    static bool appears(const std::string& name)
    {
        return waitFor([&] { return testing::Value(enumerate(), Contains(name)); }, 10s);
    }

    /// udev announces the partition once before it has a node that udev could look into.
    static bool showsScheme(const std::string& name, const std::string& scheme)
    {
        return waitFor([&] { return text(name, "PartitionScheme").toStdString() == scheme; }, 10s);
    }

    /// udev's rules have run for the device, and found a file system.
    static bool isIdentified(const Disk& disk)
    {
        return waitFor(
            [&] {
                std::ifstream entry("/run/udev/data/b7:" + disk.name().substr(4));
                std::ostringstream content;
                content << entry.rdbuf();
                return content.str().find("ID_FS_TYPE=") != std::string::npos;
            },
            10s);
    }

    static bool vanishes(const std::string& name)
    {
        return waitFor([&] { return testing::Value(enumerate(), Not(Contains(name))); }, 10s);
    }

    TemporaryDirectory directory;
    int images = 0;
    std::unique_ptr<Process> udevd;
    std::unique_ptr<Process> provider;
};

} // namespace

TEST_F(RealUdevTest, AnnouncesADeviceWithItsIdentificationAndItsEnd)
{
    const std::string file =
        image({"mkfs.ext4", "-q", "-L", "MY DATA", "-U", "01234567-89ab-cdef-0123-456789abcdef"});
    Signals signalLog;
    Disk disk(file);
    const std::string name = disk.name();
    EXPECT_TRUE(
        waitFor([&] { return testing::Value(signalLog.atLeast(1), Contains("DeviceAdded " + name)); }));
    EXPECT_EQ(text(name, "IdUsage").toStdString(), "filesystem");
    EXPECT_EQ(text(name, "IdType").toStdString(), "ext4");
    EXPECT_EQ(text(name, "IdLabel").toStdString(), "MY DATA");
    EXPECT_EQ(text(name, "IdUuid").toStdString(), "01234567-89ab-cdef-0123-456789abcdef");
    EXPECT_EQ(text(name, "DeviceFile").toStdString(), "/dev/" + name);
    EXPECT_EQ(property(name, "DeviceFileById").toStringList(),
              QStringList(QStringLiteral("/dev/disk/by-uuid/01234567-89ab-cdef-0123-456789abcdef")));
    EXPECT_EQ(property(name, "DeviceMajor"), QVariant(qlonglong(7)));
    EXPECT_EQ(property(name, "DeviceSize"), QVariant(qulonglong(16 << 20)));
    EXPECT_EQ(property(name, "DeviceBlockSize"), QVariant(qulonglong(512)));
    EXPECT_EQ(property(name, "DeviceIsDrive"), QVariant(true));
    EXPECT_EQ(text(name, "LinuxLoopFilename").toStdString(), file);
    EXPECT_EQ(allProperties(name).size(), 133);
    disk.detach();
    EXPECT_TRUE(
        waitFor([&] { return testing::Value(signalLog.atLeast(1), Contains("DeviceRemoved " + name)); }));
    EXPECT_TRUE(vanishes(name));
}

TEST_F(RealUdevTest, CarriesTheLabelAndTheSerialNumberOfAnNtfsVolumeRaw)
{
    if (!fs::exists("/usr/sbin/mkfs.ntfs")) {
        GTEST_SKIP() << "mkfs.ntfs is not installed";
    }
    const Disk disk(image({"mkfs.ntfs", "-q", "-F", "-f", "-L", "B\xc3\xbc\x63her / 1"}));
    ASSERT_TRUE(appears(disk.name()));
    EXPECT_EQ(text(disk.name(), "IdType").toStdString(), "ntfs");
    EXPECT_EQ(text(disk.name(), "IdLabel").toStdString(), "B\xc3\xbc\x63her / 1");
    EXPECT_THAT(text(disk.name(), "IdUuid").toStdString(), testing::MatchesRegex("[0-9A-F]{16}"));
}

TEST_F(RealUdevTest, ShowsThePartitionsOfAnMbrDisk)
{
    const Disk disk(partitionedImage("label: dos\n,4M,7,*\n,,E\n,,L\n"));
    disk.findPartitions();
    const struct
    {
        int number;
        const char* type;
        QStringList flags;
    } table[] = {{1, "0x07", {QStringLiteral("boot")}}, {2, "0x05", {}}, {5, "0x83", {}}};
    for (const auto& row : table) {
        const std::string name = disk.partition(row.number);
        SCOPED_TRACE(name);
        ASSERT_TRUE(showsScheme(name, "mbr"));
        EXPECT_EQ(text(name, "PartitionType").toStdString(), row.type);
        EXPECT_EQ(property(name, "PartitionFlags").toStringList(), row.flags);
        EXPECT_EQ(property(name, "PartitionNumber"), QVariant(row.number));
        EXPECT_EQ(property(name, "DeviceIsPartition"), QVariant(true));
        EXPECT_EQ(property(name, "DeviceIsDrive"), QVariant(false));
        EXPECT_EQ(property(name, "DeviceMajor"), QVariant(qlonglong(259)));
        EXPECT_EQ(text(name, "IdUsage").toStdString(), "");
        EXPECT_EQ(property(name, "PartitionSlave").value<QDBusObjectPath>().path().toStdString(),
                  "/org/freedesktop/UDisks/devices/" + disk.name());
    }
    EXPECT_EQ(text(disk.name(), "PartitionTableScheme").toStdString(), "mbr");
}

TEST_F(RealUdevTest, ShowsThePartitionsOfAGptDisk)
{
    const Disk disk(partitionedImage(
        "label: gpt\nsize=4M, type=ebd0a0a2-b9e5-4433-87c0-68b6b72699c7, attrs=RequiredPartition\n"));
    disk.findPartitions();
    const std::string name = disk.partition(1);
    ASSERT_TRUE(showsScheme(name, "gpt"));
    EXPECT_EQ(text(name, "PartitionType").toStdString(), "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7");
    EXPECT_EQ(property(name, "PartitionFlags").toStringList(), QStringList(QStringLiteral("required")));
}

TEST_F(RealUdevTest, AnnouncesTwoHundredPartitionsOnceEachWhenTheyComeAndWhenTheyGo)
{
    std::string table = "label: gpt\ngrain: 512\n";
    for (int partition = 0; partition < 100; ++partition) {
        table += "size=64K\n";
    }
    const std::string file = partitionedImage(table);
    Signals signalLog;
    std::vector<std::string> expected;
    for (int round = 0; round < 2; ++round) {
        Disk disk(file);
        const std::string name = disk.name();
        runProgram({"partx", "--add", disk.node()}, {}, 30s);
        for (int partition = 1; partition <= 100; ++partition) {
            expected.push_back("DeviceAdded " + disk.partition(partition));
            expected.push_back("DeviceRemoved " + disk.partition(partition));
        }
        expected.push_back("DeviceAdded " + name);
        expected.push_back("DeviceRemoved " + name);
        ASSERT_TRUE(waitFor([&] { return enumeratedOf(name) == 101; }, 30s)) << enumeratedOf(name);
        runProgram({"partx", "--delete", disk.node()}, {}, 30s);
        disk.detach();
        ASSERT_TRUE(waitFor([&] { return enumeratedOf(name) == 0; }, 30s)) << enumeratedOf(name);
    }
    std::vector<std::string> announced;
    const auto isComplete = [&] {
        announced = signalLog.atLeast(0);
        announced.erase(
            std::remove_if(announced.begin(), announced.end(),
                           [](const std::string& line) { return line.find("Changed") != line.npos; }),
            announced.end());
        return announced.size() >= expected.size();
    };
    EXPECT_TRUE(waitFor(isComplete, 30s));
    EXPECT_THAT(difference(expected, announced), IsEmpty()) << "lost";
    EXPECT_THAT(difference(announced, expected), IsEmpty()) << "announced too often";
}

TEST_F(RealUdevTest, AnnouncesWhatCameAndWentWhileItDidNotRun)
{
    Disk kept(image({"mkfs.ext4", "-q", "-L", "KEPT"}));
    Disk pulled(image({"mkfs.ext4", "-q", "-L", "PULLED"}));
    ASSERT_TRUE(appears(kept.name()) && appears(pulled.name()));
    provider->send(SIGKILL);
    provider->waitForEnd();
    const std::string before = pulled.name();
    const Disk plugged(image({"mkfs.ext4", "-q", "-L", "PLUGGED"}));
    pulled.detach();
    ASSERT_TRUE(isIdentified(plugged));
    Signals signalLog;
    startProvider();
    EXPECT_THAT(signalLog.atLeast(2),
                ElementsAre("DeviceRemoved " + before, "DeviceAdded " + plugged.name()));
    EXPECT_EQ(text(plugged.name(), "IdLabel").toStdString(), "PLUGGED");
}

TEST_F(RealUdevTest, LosesNothingWhenUdevIsRestarted)
{
    Disk kept(image({"mkfs.ext4", "-q", "-L", "KEPT"}));
    Disk pulled(image({"mkfs.ext4", "-q", "-L", "PULLED"}));
    ASSERT_TRUE(appears(kept.name()) && appears(pulled.name()));
    const std::string before = pulled.name();
    udevd->send(SIGKILL);
    udevd->waitForEnd();
    fs::remove("/run/udev/control");
    pulled.detach();
    startUdev();
    announceAgain(kept.name(), "change");
    EXPECT_TRUE(vanishes(before));
    const Disk plugged(image({"mkfs.ext4", "-q", "-L", "PLUGGED"}));
    EXPECT_TRUE(waitFor([&] { return text(plugged.name(), "IdLabel").toStdString() == "PLUGGED"; }, 10s));
    EXPECT_EQ(text(kept.name(), "IdLabel").toStdString(), "KEPT");
}

TEST_F(RealUdevTest, NoticesThatAnnouncementsWereLost)
{
    const Announcements announcements;
    const Disk disk(image({"mkfs.ext4", "-q"}));
    const std::string one = announcements.nextOf(disk.name());
    ASSERT_EQ(one.substr(0, 7), "libudev");
    LibUdev udev;
    EXPECT_EQ(udev.receive().kind, Udev::Event::Kind::None);
    const Announcements sender;
    sender.send(one);
    EXPECT_EQ(udev.receive().device.name().toStdString(), disk.name());
    for (int count = 0; count < 40000; ++count) {
        sender.send(one);
    }
    EXPECT_EQ(udev.receive().kind, Udev::Event::Kind::Lost);
    int kept = 0;
    while (udev.receive().kind != Udev::Event::Kind::None) {
        ++kept;
    }
    EXPECT_GT(kept, 4000) << "of announcements that a plain socket would lose";
    EXPECT_LT(kept, 40000);
}
