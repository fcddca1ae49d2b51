#include <filesystem>

#include <gmock/gmock.h>

#include "drives/DeviceProperties.h"
#include "drives/DriveManager.h"
#include "process/StopRequest.h"
#include "tests/support/KernelDoor.h"
#include "tests/support/LogWatch.h"
#include "tests/support/ScriptedUDisks.h"

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const QMap<QString, QVariant> Properties = {
    {QStringLiteral("DeviceFile"), QStringLiteral("/dev/sda1")},
    {QStringLiteral("DeviceIsPartition"), true},
    {QStringLiteral("DeviceIsSystemInternal"), true},
    {QStringLiteral("DeviceMajor"), qlonglong{8}},
    {QStringLiteral("DeviceMountPaths"), QStringList{QStringLiteral("/mnt/sda1")}},
    {QStringLiteral("IdLabel"), QStringLiteral("OS")},
    {QStringLiteral("IdType"), QStringLiteral("ext4")},
    {QStringLiteral("IdUsage"), QStringLiteral("filesystem")},
};

/// Answers every question, and asks for a stop while it answers the `count`th one about `property`.
ScriptedUDisks::Answer stoppingAt(const QString& property, int count)
{
    return [property, left = count](const QString& asked) mutable {
        if (asked == property && --left == 0) {
            StopRequest::make();
        }
        return Properties.value(asked);
    };
}

/// Every test asks its process for a stop, which cannot be taken back: each has one of its own.
class StopTest : public testing::Test
{
protected:
    StopTest()
    {
        KernelDoor::reset();
        LogWatch::begin(Vorna::Warning);
    }

    static DriveManager& startUp()
    {
        LogWatch::expect("Drives file NOT found! ");
        DriveManager::instance()->startUp();
        return *DriveManager::instance();
    }
};

TEST_F(StopTest, NoPropertyIsReadAfterIt)
{
    int asked = 0;
    const ScriptedUDisks devices({QStringLiteral("sda1")}, [&](const QString& property) {
        ++asked;
        return Properties.value(property);
    });
    const DeviceProperties device{QDBusObjectPath(ScriptedUDisks::objectPath(QStringLiteral("sda1")))};
    EXPECT_EQ(device.text("IdLabel"), QStringLiteral("OS"));
    StopRequest::make();
    EXPECT_EQ(device.text("IdLabel"), QString());
    EXPECT_EQ(device.number("DeviceMajor"), 0);
    EXPECT_EQ(asked, 1);
}

class StoppedRemountTest : public StopTest, public testing::WithParamInterface<const char*>
{
};

TEST_P(StoppedRemountTest, DoesNotBeginWhenItComesDuringTheLastQuestionBefore)
{
    const ScriptedUDisks devices({QStringLiteral("sda1")}, [](const QString& property) {
        if (property == QLatin1String("DeviceFile")) {
            StopRequest::make();
        }
        return property == QLatin1String("IdType") ? QString::fromLatin1(GetParam())
                                                   : Properties.value(property);
    });
    DriveManager* manager = DriveManager::instance();
    EXPECT_EQ(manager->remountPath(QStringLiteral("/mnt/sda1"), QStringLiteral("ro")), QString());
    EXPECT_TRUE(StopRequest::isMade());
    EXPECT_THAT(KernelDoor::calls(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(DriveManager, StoppedRemountTest, testing::Values("ntfs", "ext4"),
                         [](const auto& type) { return std::string(type.param); });

TEST_F(StopTest, NoDeviceIsAskedAboutOrShownWhenItComesWhileTheyAreListed)
{
    LogWatch::begin(Vorna::Debug);
    int asked = 0;
    const ScriptedUDisks devices({QStringLiteral("sda1"), QStringLiteral("sda2")},
                                 [&](const QString& property) {
                                     ++asked;
                                     StopRequest::make();
                                     return Properties.value(property);
                                 });
    DriveManager::instance();
    EXPECT_EQ(asked, 1);
    EXPECT_THAT(LogWatch::messages(Vorna::Debug), IsEmpty());
}

TEST_F(StopTest, NothingIsMountedWhenItComesDuringTheLastQuestionBefore)
{
    const ScriptedUDisks devices({QStringLiteral("sda1")}, stoppingAt(QStringLiteral("DeviceFile"), 1));
    startUp();
    EXPECT_THAT(KernelDoor::calls(), IsEmpty());
    EXPECT_TRUE(fs::is_empty("/mnt"));
}

TEST_F(StopTest, NothingIsMovedWhenItComesDuringTheLastQuestionBefore)
{
    const ScriptedUDisks devices({QStringLiteral("sda1"), QStringLiteral("sda2")},
                                 stoppingAt(QStringLiteral("IdLabel"), 1));
    startUp();
    EXPECT_THAT(KernelDoor::calls(), ElementsAre("mount(/dev/sda1, /mnt/sda1, ext4, 0x0, )"));
    EXPECT_TRUE(fs::is_empty("/media"));
}

TEST_F(StopTest, NoFurtherPartitionIsArrangedAfterIt)
{
    const ScriptedUDisks devices({QStringLiteral("sda1"), QStringLiteral("sda2")},
                                 stoppingAt(QStringLiteral("IdType"), 2));
    startUp();
    EXPECT_THAT(KernelDoor::calls(), ElementsAre("mount(/dev/sda1, /mnt/sda1, ext4, 0x0, )",
                                                 "mount(/mnt/sda1, /media/C:, NULL, 0x2000, NULL)"));
}

TEST_F(StopTest, PathIsNotReportedMissingWhenItCouldNotBeLookedFor)
{
    const ScriptedUDisks devices({QStringLiteral("sda1")}, stoppingAt(QStringLiteral("DeviceMountPaths"), 2));
    EXPECT_EQ(startUp().remountPath(QStringLiteral("/media/elsewhere"), QString()), QString());
}

} // namespace
