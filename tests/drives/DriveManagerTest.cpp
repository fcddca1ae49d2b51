#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>

#include <gmock/gmock.h>

#include <QMetaMethod>

#include "drives/DriveManager.h"
#include "tests/support/KernelDoor.h"
#include "tests/support/LogWatch.h"
#include "tests/support/MachineProvider.h"
#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

/// A stick that is plugged in while the service runs.
const char* const Vfat =
    "[stick]\nNode = sdb1\nPlugged = false\nDeviceMajor = 8\nDeviceIsPartition = true\nIdUsage = filesystem\n"
    "IdType = vfat\nIdLabel = DATA\nIdUuid = 1234-ABCD\n";

std::string stick(const std::string& type, const std::string& label, const std::string& more = {})
{
    return "[stick]\nNode = sdb1\nPlugged = false\nIdUsage = filesystem\nIdType = " + type +
           "\nIdLabel = " + label + "\nIdUuid = 1234-ABCD\n" + more;
}

long timesLogged(const std::string& message)
{
    const auto messages = LogWatch::messages(7);
    return std::count(messages.begin(), messages.end(), message);
}

bool isLogged(const std::string& message)
{
    return timesLogged(message) > 0;
}

/// Does something to a device and waits until the slot has had it; then everything it led to has happened.
void doAndWait(void (*deed)(const std::string& section), const std::string& section,
               const std::string& message)
{
    const long before = timesLogged(message);
    deed(section);
    ASSERT_TRUE(waitFor([&] { return timesLogged(message) > before; }));
}

void plugIn(const std::string& section = "stick", const std::string& node = "sdb1")
{
    doAndWait(MachineProvider::plug, section,
              "\"Device to add: /org/freedesktop/UDisks/devices/" + node + "\" ");
}

void pullOut(const std::string& section = "stick", const std::string& node = "sdb1")
{
    doAndWait(MachineProvider::unplug, section,
              "\"Device removed: /org/freedesktop/UDisks/devices/" + node + "\" ");
}

/// The second signal of a device that was already pulled.
void pullOutAgain(const std::string& node = "sdb1")
{
    const QDBusObjectPath path(QStringLiteral("/org/freedesktop/UDisks/devices/") +
                               QString::fromStdString(node));
    ASSERT_TRUE(QMetaObject::invokeMethod(DriveManager::instance(), "_slot_removeDevice",
                                          Q_ARG(QDBusObjectPath, path)));
}

class DriveManagerTest : public testing::Test
{
protected:
    DriveManagerTest() { KernelDoor::reset(); }
};

TEST_F(DriveManagerTest, CreatesItsRootsAndDumpsNothingOnAMachineWithoutDevices)
{
    const MachineProvider devices("");
    fs::remove("/mnt");
    fs::remove("/media");
    DriveManager::instance();
    EXPECT_TRUE(fs::is_directory("/mnt"));
    EXPECT_TRUE(fs::is_directory("/media"));
    EXPECT_THAT(LogWatch::messages(7), IsEmpty());
    EXPECT_THAT(LogWatch::messages(10),
                ElementsAre(testing::EndsWith("]instance"), testing::EndsWith("]DriveManager")));
}

TEST_F(DriveManagerTest, IsMadeOnceAndDumpsOnce)
{
    const MachineProvider devices(std::string(Vfat) + "[sda]\n");
    DriveManager* first = DriveManager::instance();
    const std::size_t dumped = LogWatch::messages(7).size();
    EXPECT_EQ(dumped, 20U);
    EXPECT_EQ(DriveManager::instance(), first);
    EXPECT_EQ(LogWatch::messages(7).size(), dumped);
}

TEST_F(DriveManagerTest, TracesFromTheFileNamedAfterItsClass)
{
    const MachineProvider devices("");
    DriveManager::instance()->shutdown();
    for (const LogWatch::Line& line : LogWatch::lines()) {
        EXPECT_EQ(line.source, line.level == 10 ? "DriveManager.cpp" : "qDebug");
    }
}

TEST_F(DriveManagerTest, DeclaresItsTwoSlotsInOrderAndNothingElse)
{
    const QMetaObject& meta = DriveManager::staticMetaObject;
    EXPECT_STREQ(meta.className(), "DriveManager");
    ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 2);
    EXPECT_EQ(meta.method(meta.methodOffset()).methodSignature(), "_slot_addDevice(QDBusObjectPath)");
    EXPECT_EQ(meta.method(meta.methodOffset() + 1).methodSignature(), "_slot_removeDevice(QDBusObjectPath)");
    EXPECT_EQ(meta.propertyCount(), meta.propertyOffset());
}

struct PolicyRow
{
    const char* story;
    const char* properties;
    std::vector<std::string> calls;
    const char* directory; ///< that is made; empty: none
};

class MountPolicyRowTest : public testing::TestWithParam<PolicyRow>
{
};

TEST_P(MountPolicyRowTest, IsCarriedOutAtTheKernelsDoor)
{
    KernelDoor::reset();
    const std::string common = "[stick]\nNode = sdb1\nPlugged = false\n";
    const MachineProvider devices(common + GetParam().properties);
    DriveManager::instance();
    plugIn();
    EXPECT_EQ(KernelDoor::calls(), GetParam().calls);
    if (*GetParam().directory != '\0') {
        EXPECT_TRUE(fs::is_directory(GetParam().directory));
    } else {
        EXPECT_TRUE(fs::is_empty("/media"));
        EXPECT_TRUE(fs::is_empty("/mnt"));
    }
}

INSTANTIATE_TEST_SUITE_P(
    DriveManager, MountPolicyRowTest,
    testing::Values(PolicyRow{"NoType", "IdUsage = filesystem\nIdLabel = A\n", {}, ""},
                    PolicyRow{"Swap", "IdUsage = other\nIdType = swap\n", {}, ""},
                    PolicyRow{"InternalNtfs",
                              "Internal = true\nIdUsage = filesystem\nIdType = ntfs\nIdLabel = A\n",
                              {"system(ntfs-3g /dev/sdb1 /mnt/sdb1)"},
                              "/mnt/sdb1"},
                    PolicyRow{"ExternalNtfs",
                              "IdUsage = filesystem\nIdType = ntfs\nIdLabel = A\n",
                              {"system(ntfs-3g /dev/sdb1 /media/A)"},
                              "/media/A"},
                    PolicyRow{"InternalVfat",
                              "Internal = true\nIdUsage = filesystem\nIdType = vfat\nIdLabel = A\n",
                              {"mount(/dev/sdb1, /mnt/sdb1, vfat, 0x0, utf8)"},
                              "/mnt/sdb1"},
                    PolicyRow{"ExternalVfat",
                              "IdUsage = filesystem\nIdType = vfat\nIdLabel = DATA\n",
                              {"mount(/dev/sdb1, /media/DATA, vfat, 0x0, utf8)"},
                              "/media/DATA"},
                    PolicyRow{"InternalOther",
                              "Internal = true\nIdUsage = filesystem\nIdType = ext4\nIdLabel = A\n",
                              {"mount(/dev/sdb1, /mnt/sdb1, ext4, 0x0, )"},
                              "/mnt/sdb1"},
                    PolicyRow{"ExternalOther",
                              "IdUsage = filesystem\nIdType = ext4\nIdLabel = A B\n",
                              {"mount(/dev/sdb1, /media/A B, ext4, 0x0, )"},
                              "/media/A B"},
                    PolicyRow{"WithoutLabel",
                              "IdUsage = filesystem\nIdType = vfat\nIdUuid = 1234-ABCD\n",
                              {"mount(/dev/sdb1, /media/1234-ABCD, vfat, 0x0, utf8)"},
                              "/media/1234-ABCD"},
                    PolicyRow{"UnreadableLabel",
                              "IdUsage = filesystem\nIdType = vfat\nIdLabel:u = 5\nIdUuid = 1234-ABCD\n",
                              {"mount(/dev/sdb1, /media/1234-ABCD, vfat, 0x0, utf8)"},
                              "/media/1234-ABCD"},
                    PolicyRow{"MissingUsage",
                              "IdUsage:missing =\nIdType = vfat\nIdLabel = A\n",
                              {"mount(/dev/sdb1, /mnt/sdb1, vfat, 0x0, utf8)"},
                              "/mnt/sdb1"},
                    PolicyRow{"NonAsciiLabel",
                              "IdUsage = filesystem\nIdType = ext4\nIdLabel = M\xc3\xbcsli\n",
                              {"mount(/dev/sdb1, /media/M\xc3\xbcsli, ext4, 0x0, )"},
                              "/media/M\xc3\xbcsli"},
                    PolicyRow{"LabelWithShellCharacters",
                              "IdUsage = filesystem\nIdType = ntfs\nIdLabel = A&B $(reboot)\n",
                              {"system(ntfs-3g /dev/sdb1 '/media/A&B' '$(reboot)')"},
                              "/media/A&B $(reboot)"}),
    [](const auto& row) { return row.param.story; });

TEST_F(DriveManagerTest, RecordsAnExternalKernelMountAndTakesItDownByForceWhenItIsPulled)
{
    const MachineProvider devices(Vfat);
    DriveManager::instance();
    plugIn();
    pullOut();
    EXPECT_THAT(KernelDoor::calls(),
                ElementsAre("mount(/dev/sdb1, /media/DATA, vfat, 0x0, utf8)", "umount2(/media/DATA, 1)"));
    EXPECT_FALSE(fs::exists("/media/DATA"));
    EXPECT_TRUE(isLogged("\"Trying to umount2: /media/DATA\" "));
    EXPECT_TRUE(isLogged("\"mount -tvfat /dev/sdb1 /media/DATA utf8\" "));
    plugIn();
    pullOut();
    EXPECT_EQ(KernelDoor::calls().size(), 4U);
}

TEST_F(DriveManagerTest, WritesTheMountTextWithABlankAtItsEndWhenThereAreNoOptions)
{
    const MachineProvider devices(stick("ext4", "A"));
    DriveManager::instance();
    plugIn();
    EXPECT_TRUE(isLogged("\"mount -text4 /dev/sdb1 /media/A \" "));
}

struct UnrecordedRow
{
    const char* story;
    const char* properties;
};

class UnrecordedTest : public testing::TestWithParam<UnrecordedRow>
{
};

TEST_P(UnrecordedTest, StaysMountedWhenItIsPulled)
{
    KernelDoor::reset();
    const MachineProvider devices(
        std::string("[stick]\nNode = sdb1\nPlugged = false\nIdUsage = filesystem\nIdLabel = A\n") +
        GetParam().properties);
    DriveManager::instance();
    plugIn();
    pullOut();
    EXPECT_THAT(KernelDoor::calls(), testing::Not(Contains(StartsWith("umount2"))));
    EXPECT_THAT(LogWatch::messages(7), testing::Not(Contains(HasSubstr("Trying to"))));
}

INSTANTIATE_TEST_SUITE_P(DriveManager, UnrecordedTest,
                         testing::Values(UnrecordedRow{"ExternalNtfs", "IdType = ntfs\n"},
                                         UnrecordedRow{"InternalNtfs", "Internal = true\nIdType = ntfs\n"},
                                         UnrecordedRow{"InternalVfat", "Internal = true\nIdType = vfat\n"},
                                         UnrecordedRow{"InternalExt4", "Internal = true\nIdType = ext4\n"}),
                         [](const auto& row) { return row.param.story; });

TEST_F(DriveManagerTest, ReportsAFailedMountAndLeavesTheDirectory)
{
    KernelDoor::answer("mount(", -1, ENODEV);
    LogWatch::expect("\"ERROR mount: No such device\" ");
    const MachineProvider devices(Vfat);
    DriveManager::instance();
    plugIn();
    pullOut();
    EXPECT_TRUE(fs::is_directory("/media/DATA"));
    EXPECT_THAT(KernelDoor::calls(), testing::Not(Contains(StartsWith("umount2"))));
}

TEST_F(DriveManagerTest, KeepsTheEntryWhenTheForcedUnmountFails)
{
    KernelDoor::answer("umount2(", -1, EBUSY);
    LogWatch::expect("\"ERROR umount2: Device or resource busy\" ");
    const MachineProvider devices(Vfat);
    DriveManager::instance();
    plugIn();
    pullOut();
    EXPECT_TRUE(fs::is_directory("/media/DATA"));
    pullOutAgain();
    EXPECT_THAT(KernelDoor::calls(),
                ElementsAre(StartsWith("mount("), "umount2(/media/DATA, 1)", "umount2(/media/DATA, 1)"));
    EXPECT_FALSE(fs::exists("/media/DATA"));
    fs::create_directory("/media/DATA");
    pullOutAgain();
    EXPECT_THAT(KernelDoor::calls(), testing::SizeIs(3)) << "the entry went with the mount";
}

TEST_F(DriveManagerTest, LeavesEverythingWhenTheRecordedDirectoryHasGone)
{
    const MachineProvider devices(Vfat);
    DriveManager::instance();
    plugIn();
    fs::remove("/media/DATA");
    pullOut();
    EXPECT_THAT(KernelDoor::calls(), testing::SizeIs(1));
    EXPECT_EQ(timesLogged("\"Trying to umount2: /media/DATA\" "), 0);
    fs::create_directory("/media/DATA");
    pullOutAgain();
    EXPECT_EQ(KernelDoor::calls().back(), "umount2(/media/DATA, 1)") << "the entry stayed";
}

TEST_F(DriveManagerTest, DoesNotFollowALinkThatTookThePlaceOfTheRecordedDirectory)
{
    const MachineProvider devices(Vfat);
    DriveManager::instance();
    plugIn();
    fs::remove("/media/DATA");
    fs::create_directory_symlink("/etc", "/media/DATA");
    pullOut();
    EXPECT_THAT(KernelDoor::calls(), testing::SizeIs(1));
    EXPECT_TRUE(fs::is_symlink("/media/DATA"));
}

TEST_F(DriveManagerTest, StacksTwoFileSystemsOfOneLabelOnOneDirectory)
{
    const MachineProvider devices(std::string(Vfat) +
                                  "[other]\nNode = sdc1\nPlugged = false\nIdUsage = filesystem\nIdType = "
                                  "ext4\nIdLabel = DATA\n");
    DriveManager::instance();
    plugIn();
    plugIn("other", "sdc1");
    pullOut();
    fs::create_directory("/media/DATA");
    pullOut("other", "sdc1");
    EXPECT_THAT(KernelDoor::calls(), ElementsAre("mount(/dev/sdb1, /media/DATA, vfat, 0x0, utf8)",
                                                 "mount(/dev/sdc1, /media/DATA, ext4, 0x0, )",
                                                 "umount2(/media/DATA, 1)", "umount2(/media/DATA, 1)"));
}

TEST_F(DriveManagerTest, RetriesNtfsReadOnlyAndReportsBothRuns)
{
    KernelDoor::answer("system(", 0x1500);
    KernelDoor::answer("system(", 0x100);
    LogWatch::expect("\"WARNING ntfs-3g: 0x1500\" ");
    LogWatch::expect("\"ERROR ntfs-3g: 0x100\" ");
    const MachineProvider devices(stick("ntfs", "WIN"));
    DriveManager::instance();
    plugIn();
    EXPECT_THAT(KernelDoor::calls(), ElementsAre("system(ntfs-3g /dev/sdb1 /media/WIN)",
                                                 "system(ntfs-3g -oro /dev/sdb1 /media/WIN)"));
    EXPECT_TRUE(isLogged("\"ntfs-3g /dev/sdb1 /media/WIN\" "));
    EXPECT_TRUE(isLogged("\"ntfs-3g -oro /dev/sdb1 /media/WIN\" "));
}

TEST_F(DriveManagerTest, RetriesNtfsReadOnlyAlsoWhenNoShellCouldBeRun)
{
    KernelDoor::answer("system(", -1, EAGAIN);
    KernelDoor::answer("system(", -1, ENOMEM);
    LogWatch::expect("\"WARNING ntfs-3g: 0x-1\" ");
    LogWatch::expect("\"ERROR system: [/media/WIN] with error: Cannot allocate memory\" ");
    const MachineProvider devices(stick("ntfs", "WIN"));
    DriveManager::instance();
    plugIn();
    EXPECT_TRUE(fs::is_directory("/media/WIN"));
}

struct HostileRow
{
    const char* story;
    const char* properties;
    const char* error;
};

class HostileNameTest : public testing::TestWithParam<HostileRow>
{
};

TEST_P(HostileNameTest, IsNeitherCreatedNorMountedButReported)
{
    KernelDoor::reset();
    LogWatch::expect(std::string("\"ERROR mount: ") + GetParam().error + "\" ");
    const MachineProvider devices(
        std::string("[stick]\nNode = sdb1\nPlugged = false\nIdUsage = filesystem\n") + GetParam().properties);
    fs::create_directory_symlink("/etc", "/media/LINK");
    DriveManager::instance();
    plugIn();
    EXPECT_THAT(KernelDoor::calls(), IsEmpty());
    EXPECT_THAT(fs::read_symlink("/media/LINK"), "/etc");
    EXPECT_EQ(std::distance(fs::directory_iterator("/media"), fs::directory_iterator()), 1);
    EXPECT_TRUE(fs::is_empty("/mnt"));
}

INSTANTIATE_TEST_SUITE_P(
    DriveManager, HostileNameTest,
    testing::Values(HostileRow{"AbsoluteLabel", "IdType = ext4\nIdLabel = /etc\n", "Invalid argument"},
                    HostileRow{"ClimbingLabel", "IdType = ext4\nIdLabel = ../etc\n", "Invalid argument"},
                    HostileRow{"ParentLabel", "IdType = vfat\nIdLabel = ..\n", "Invalid argument"},
                    HostileRow{"DotLabel", "IdType = ntfs\nIdLabel = .\n", "Invalid argument"},
                    HostileRow{"ClimbingUuid", "IdType = ext4\nIdUuid = ../x\n", "Invalid argument"},
                    HostileRow{"LinkInTheRoot", "IdType = ext4\nIdLabel = LINK\n",
                               "Too many levels of symbolic links"},
                    HostileRow{"ClimbingNode", "Internal = true\nIdType = ext4\nDeviceFile = /dev/../etc\n",
                               "Invalid argument"},
                    HostileRow{"AbsoluteNode", "Internal = true\nIdType = ext4\nDeviceFile = /dev//etc\n",
                               "Invalid argument"}),
    [](const auto& row) { return row.param.story; });

TEST_F(DriveManagerTest, AttemptsTheMountOfANestedNodeWithoutItsParentDirectory)
{
    const MachineProvider devices("[stick]\nNode = sdb1\nPlugged = false\nInternal = true\nIdType = "
                                  "ext4\nDeviceFile = /dev/mapper/vg-lv\n");
    DriveManager::instance();
    plugIn();
    EXPECT_THAT(KernelDoor::calls(), ElementsAre("mount(/dev/mapper/vg-lv, /mnt/mapper/vg-lv, ext4, 0x0, )"));
    EXPECT_TRUE(fs::is_empty("/mnt"));
}

TEST_F(DriveManagerTest, MountsANamelessMediumOverTheRootAndNeverRemovesTheRoot)
{
    const MachineProvider devices(
        "[stick]\nNode = sdb1\nPlugged = false\nIdUsage = filesystem\nIdType = ext4\n");
    DriveManager::instance();
    plugIn();
    pullOut();
    EXPECT_THAT(KernelDoor::calls(),
                ElementsAre("mount(/dev/sdb1, /media, ext4, 0x0, )", "umount2(/media, 1)"));
    EXPECT_TRUE(fs::is_directory("/media"));
}

TEST_F(DriveManagerTest, MakesNoRootForANamelessMedium)
{
    const MachineProvider devices(
        "[stick]\nNode = sdb1\nPlugged = false\nIdUsage = filesystem\nIdType = ext4\n");
    DriveManager::instance();
    fs::remove("/media");
    plugIn();
    EXPECT_THAT(KernelDoor::calls(), ElementsAre("mount(/dev/sdb1, /media, ext4, 0x0, )"));
    EXPECT_FALSE(fs::exists("/media"));
}

TEST_F(DriveManagerTest, FollowsAProviderThatGoesAwayAndComesBack)
{
    std::optional<MachineProvider> devices;
    devices.emplace(Vfat);
    DriveManager::instance();
    devices.reset();
    devices.emplace(Vfat);
    plugIn();
    EXPECT_THAT(KernelDoor::calls(), testing::SizeIs(1));
}

TEST_F(DriveManagerTest, StaysUpWithoutAProvider)
{
    DriveManager* manager = DriveManager::instance();
    LogWatch::expect("Drives file NOT found! ");
    LogWatch::expect("\"WARNING re-mount path not found: [/media/C:]\" ");
    manager->startUp();
    EXPECT_EQ(manager->remountPath(QStringLiteral("/media/C:"), QString()),
              QStringLiteral("WARNING re-mount path not found: [/media/C:]"));
    EXPECT_THAT(KernelDoor::calls(), IsEmpty());
}

} // namespace
