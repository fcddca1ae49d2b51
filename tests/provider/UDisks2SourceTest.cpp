#include <memory>

#include <gmock/gmock.h>

#include "tests/provider/FakeUDisks2.h"
#include "tests/provider/SampleDisks.h"
#include "tests/provider/UDisksClient.h"
#include "tests/support/BusBeforeMain.h"
#include "tests/support/MachineProvider.h"
#include "tests/support/WaitFor.h"

using namespace SampleDisks;
using namespace UDisksClient;
using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

/// The shipped provider over a fake UDisks2.
class UDisks2SourceTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (busBeforeMain() == nullptr) {
            GTEST_SKIP() << "dbus-daemon is not installed";
        }
    }

    void startProvider(const std::vector<std::string>& arguments = {})
    {
        std::vector<std::string> command{MachineProvider::PROGRAM};
        command.insert(command.end(), arguments.begin(), arguments.end());
        provider = std::make_unique<Process>(command, directory.path() + "/output");
    }

    bool says(const std::string& text)
    {
        return waitFor([&] { return provider->output().find(text) != std::string::npos; });
    }

    void startOver(const UDisks2Objects& objects)
    {
        udisks2 = std::make_unique<FakeUDisks2>(objects);
        startProvider();
        ASSERT_TRUE(says("ready with")) << provider->output();
    }

    int timesSaid(const std::string& text) const
    {
        int count = 0;
        const std::string output = provider->output();
        for (size_t at = output.find(text); at != std::string::npos; at = output.find(text, at + 1)) {
            ++count;
        }
        return count;
    }

    TemporaryDirectory directory;
    std::unique_ptr<FakeUDisks2> udisks2;
    std::unique_ptr<Process> provider;
};

} // namespace

TEST_F(UDisks2SourceTest, EnumeratesByPlaceAndThenByNumber)
{
    startOver(all());
    EXPECT_THAT(enumerate(),
                ElementsAre("sdb", "sdb1", "sda", "sda1", "sda2", "sda5", "nvme0n1", "nvme0n1p1", "nvme0n1p2",
                            "sdc", "sdd", "sdd1", "sde", "sde1", "sdf", "sr0", "loop0", "mmcblk0",
                            "mmcblk0p1", "dm_2d0", "vda", "vda1", "loop0p1"));
}

TEST_F(UDisks2SourceTest, ShowsWhatUDisks2TellsOverTheBus)
{
    startOver(sataDisk() + nvmeDisk());
    EXPECT_EQ(text("sda1", "IdLabel").toStdString(), "A/B\n");
    EXPECT_EQ(property("sda1", "DeviceMinor"), QVariant(qlonglong(1)));
    EXPECT_EQ(property("sda1", "DeviceFileById").toStringList(),
              QStringList({QStringLiteral("/dev/disk/by-id/ata-Acme-part1"),
                           QStringLiteral("/dev/disk/by-uuid/0123456789ABCDEF")}));
    EXPECT_EQ(property("sda1", "PartitionFlags").toStringList(), QStringList(QStringLiteral("boot")));
    EXPECT_EQ(allProperties("nvme0n1p2").size(), 133);
    EXPECT_EQ(property("nvme0n1p2", "DeviceMajor"), QVariant(qlonglong(8)));
    EXPECT_EQ(deviceIn(callDaemon("FindDeviceByMajorMinor", {qlonglong(NVME), qlonglong(2)})), "nvme0n1p2");
    EXPECT_EQ(deviceIn(callDaemon("FindDeviceByDeviceFile", {QStringLiteral("/dev/sda5")})), "sda5");
}

TEST_F(UDisks2SourceTest, ShowsTrueMajorNumbersOnRequest)
{
    udisks2 = std::make_unique<FakeUDisks2>(nvmeDisk());
    startProvider({"--true-major"});
    ASSERT_TRUE(says("ready with"));
    EXPECT_EQ(property("nvme0n1p2", "DeviceMajor"), QVariant(qlonglong(NVME)));
}

TEST_F(UDisks2SourceTest, TellsOfDevicesThatComeAndGo)
{
    startOver(sataDisk());
    Signals signalLog;
    udisks2->add(stick());
    EXPECT_THAT(signalLog.atLeast(2), ElementsAre("DeviceAdded sdb", "DeviceAdded sdb1"));
    EXPECT_EQ(text("sdb1", "IdLabel").toStdString(), "MY STICK");
    udisks2->remove(blockPath("sdb1"));
    udisks2->remove(blockPath("sdb"));
    EXPECT_THAT(signalLog.atLeast(4), ElementsAre("DeviceAdded sdb", "DeviceAdded sdb1", "DeviceRemoved sdb1",
                                                  "DeviceRemoved sdb"));
    EXPECT_FALSE(property("sdb1", "IdLabel").isValid());
}

TEST_F(UDisks2SourceTest, SaysNothingOfDevicesThatWereThereFromTheStart)
{
    Signals signalLog;
    startOver(sataDisk());
    udisks2->add(stickWithoutTable());
    EXPECT_THAT(signalLog.atLeast(1), ElementsAre("DeviceAdded sdc"));
}

TEST_F(UDisks2SourceTest, WaitsWithAnAnnouncementForTheIdentification)
{
    startOver(sataDisk());
    Signals signalLog;
    const QDBusObjectPath path = blockPath("sdc");
    const UDisks2Interfaces complete = stickWithoutTable()[path];
    udisks2->add(path, unidentified(complete));
    udisks2->change(path, UDisks2::BLOCK, complete[UDisks2::BLOCK]);
    EXPECT_THAT(signalLog.atLeast(1), ElementsAre("DeviceAdded sdc"));
    EXPECT_EQ(text("sdc", "IdType").toStdString(), "vfat");
}

TEST_F(UDisks2SourceTest, ShowsAPartitionOnlyWhenItsTableIsKnown)
{
    startOver({});
    Signals signalLog;
    const UDisks2Objects complete = stick();
    udisks2->add(blockPath("sdb1"), complete[blockPath("sdb1")]);
    udisks2->add(blockPath("sdb"), complete[blockPath("sdb")]);
    EXPECT_THAT(signalLog.atLeast(2), testing::UnorderedElementsAre("DeviceAdded sdb", "DeviceAdded sdb1"));
    EXPECT_EQ(text("sdb1", "PartitionScheme").toStdString(), "mbr");
}

TEST_F(UDisks2SourceTest, TellsADiscThatIsPutInAsAChange)
{
    UDisks2Objects empty = opticalDrive();
    empty[blockPath("sr0")] = unidentified(empty[blockPath("sr0")]);
    empty[blockPath("sr0")][UDisks2::BLOCK][QStringLiteral("Size")] = qulonglong(0);
    startOver(empty);
    Signals signalLog;
    udisks2->change(blockPath("sr0"), UDisks2::BLOCK, opticalDrive()[blockPath("sr0")][UDisks2::BLOCK]);
    EXPECT_THAT(signalLog.atLeast(2), ElementsAre("DeviceChanged sr0", "Changed sr0"));
    EXPECT_EQ(text("sr0", "IdLabel").toStdString(), "DISC");
}

TEST_F(UDisks2SourceTest, TellsAMountAsAChange)
{
    startOver(sataDisk());
    Signals signalLog;
    const QString filesystem = QStringLiteral("org.freedesktop.UDisks2.Filesystem");
    udisks2->add(blockPath("sda1"), {{filesystem, {}}});
    udisks2->change(blockPath("sda1"), filesystem, {{QStringLiteral("Size"), qulonglong(1)}});
    EXPECT_THAT(signalLog.atLeast(4),
                ElementsAre("DeviceChanged sda1", "Changed sda1", "DeviceChanged sda1", "Changed sda1"));
}

TEST_F(UDisks2SourceTest, TakesADeviceForGoneOnlyWhenItIsNoBlockDeviceAnyMore)
{
    startOver(sataDisk());
    Signals signalLog;
    udisks2->removeInterface(blockPath("sda1"), UDisks2::PARTITION);
    EXPECT_THAT(signalLog.atLeast(2), ElementsAre("DeviceChanged sda1", "Changed sda1"));
    EXPECT_EQ(property("sda1", "DeviceIsPartition"), QVariant(false));
    udisks2->removeInterface(blockPath("sda5"), UDisks2::BLOCK);
    EXPECT_THAT(signalLog.atLeast(3),
                ElementsAre("DeviceChanged sda1", "Changed sda1", "DeviceRemoved sda5"));
    EXPECT_THAT(enumerate(), ElementsAre("sda", "sda1", "sda2"));
}

TEST_F(UDisks2SourceTest, TellsWhatAChangeOfTheDriveMeansForItsDevices)
{
    startOver(emptyCardReader());
    Signals signalLog;
    udisks2->change(drivePath("reader"), UDisks2::DRIVE, {{QStringLiteral("TimeDetected"), qulonglong(1)}});
    udisks2->change(drivePath("reader"), UDisks2::DRIVE, {{QStringLiteral("MediaAvailable"), true}});
    EXPECT_THAT(signalLog.atLeast(4),
                ElementsAre("DeviceChanged sdf", "Changed sdf", "DeviceChanged sdf", "Changed sdf"));
    EXPECT_EQ(property("sdf", "DeviceIsMediaAvailable"), QVariant(true));
}

TEST_F(UDisks2SourceTest, AddsALoopDeviceWhenItGetsAFileAndRemovesItWhenItLosesIt)
{
    startOver(loopDevices());
    Signals signalLog;
    udisks2->change(blockPath("loop1"), UDisks2::BLOCK, {{QStringLiteral("Size"), qulonglong(4096)}});
    udisks2->change(blockPath("loop1"), UDisks2::BLOCK, holds("filesystem", "squashfs"));
    udisks2->change(blockPath("loop1"), UDisks2::LOOP, {{QStringLiteral("BackingFile"), fileName("/x")}});
    EXPECT_THAT(signalLog.atLeast(1), ElementsAre("DeviceAdded loop1"));
    udisks2->change(blockPath("loop1"), UDisks2::LOOP, {{QStringLiteral("BackingFile"), fileName("")}});
    EXPECT_THAT(signalLog.atLeast(2), ElementsAre("DeviceAdded loop1", "DeviceRemoved loop1"));
}

TEST_F(UDisks2SourceTest, TakesItsNameOnlyWhenUDisks2WasEnumerated)
{
    udisks2 = std::make_unique<FakeUDisks2>(sataDisk());
    udisks2->setMood(FakeUDisks2::Mood::Silent);
    startProvider();
    ASSERT_TRUE(waitFor([&] { return udisks2->enumerations() > 0; }));
    EXPECT_EQ(errorOf(callDaemon("EnumerateDevices")), "org.freedesktop.DBus.Error.ServiceUnknown");
    udisks2.reset();
    EXPECT_TRUE(says("vrudisks: waiting for UDisks2\n"));
    udisks2 = std::make_unique<FakeUDisks2>(sataDisk());
    EXPECT_TRUE(says("vrudisks: ready with 4 devices\n"));
}

TEST_F(UDisks2SourceTest, AsksAgainWhenUDisks2DoesNotAnswerInTime)
{
    udisks2 = std::make_unique<FakeUDisks2>(sataDisk());
    udisks2->setMood(FakeUDisks2::Mood::Overloaded);
    startProvider();
    ASSERT_TRUE(says("vrudisks: waiting for UDisks2\n"));
    udisks2->setMood(FakeUDisks2::Mood::Helpful);
    EXPECT_TRUE(says("vrudisks: ready with 4 devices\n"));
    EXPECT_EQ(udisks2->enumerations(), 2);
}

TEST_F(UDisks2SourceTest, WaitsForAnUDisks2ThatStartsLateAndSaysSoOnce)
{
    startProvider();
    ASSERT_TRUE(says("vrudisks: waiting for UDisks2\n"));
    EXPECT_EQ(errorOf(callDaemon("EnumerateDevices")), "org.freedesktop.DBus.Error.ServiceUnknown");
    udisks2 = std::make_unique<FakeUDisks2>(sataDisk());
    ASSERT_TRUE(says("vrudisks: ready with 4 devices\n"));
    EXPECT_EQ(timesSaid("waiting"), 1);
    EXPECT_EQ(timesSaid("UDisks2 is there"), 1);
    EXPECT_THAT(enumerate(), ElementsAre("sda", "sda1", "sda2", "sda5"));
}

TEST_F(UDisks2SourceTest, KeepsTheDevicesWhileUDisks2IsRestarted)
{
    startOver(sataDisk() + stick());
    Signals signalLog;
    udisks2.reset();
    ASSERT_TRUE(says("vrudisks: UDisks2 is gone; its devices stay as they were until it is back\n"));
    EXPECT_EQ(text("sdb1", "IdLabel").toStdString(), "MY STICK");
    udisks2 = std::make_unique<FakeUDisks2>(sataDisk() + stick() + stickWithoutTable());
    ASSERT_TRUE(says("vrudisks: UDisks2 is there\n"));
    EXPECT_THAT(signalLog.atLeast(1), ElementsAre("DeviceAdded sdc"));
}

TEST_F(UDisks2SourceTest, TellsWhatVanishedOrWasExchangedWhileUDisks2WasAway)
{
    startOver(sataDisk() + stick() + stickWithoutTable());
    Signals signalLog;
    udisks2.reset();
    ASSERT_TRUE(says("UDisks2 is gone"));
    UDisks2Objects exchanged = stickWithoutTable();
    exchanged[blockPath("sdc")][UDisks2::BLOCK].insert(holds("filesystem", "vfat", "OTHER", "3-4"));
    udisks2 = std::make_unique<FakeUDisks2>(sataDisk() + exchanged);
    EXPECT_THAT(signalLog.atLeast(4), ElementsAre("DeviceRemoved sdc", "DeviceRemoved sdb1",
                                                  "DeviceRemoved sdb", "DeviceAdded sdc"));
    EXPECT_EQ(text("sdc", "IdLabel").toStdString(), "OTHER");
}

TEST_F(UDisks2SourceTest, TakesADeviceThatIsNotIdentifiedAgainYetForTheSame)
{
    startOver(stickWithoutTable());
    Signals signalLog;
    udisks2.reset();
    ASSERT_TRUE(says("UDisks2 is gone"));
    UDisks2Objects early = stickWithoutTable();
    early[blockPath("sdc")][UDisks2::BLOCK][QStringLiteral("IdUUID")] = QString();
    early[blockPath("sdc")][UDisks2::BLOCK][QStringLiteral("Size")] = qulonglong(0);
    udisks2 = std::make_unique<FakeUDisks2>(early);
    EXPECT_THAT(signalLog.atLeast(2), ElementsAre("DeviceChanged sdc", "Changed sdc"));
}

TEST_F(UDisks2SourceTest, TellsTheEndOfADeviceUnderThePathItWasAddedUnder)
{
    startOver({});
    Signals signalLog;
    udisks2->add(stickWithoutTable());
    udisks2->change(blockPath("sdc"), UDisks2::BLOCK, {{QStringLiteral("Device"), fileName("/dev/other")}});
    udisks2->remove(blockPath("sdc"));
    EXPECT_THAT(signalLog.atLeast(4),
                ElementsAre("DeviceAdded sdc", "DeviceChanged sdc", "Changed sdc", "DeviceRemoved sdc"));
}

TEST_F(UDisks2SourceTest, TellsAgainWhenUDisks2GoesAgain)
{
    startOver(sataDisk());
    for (int round = 1; round <= 2; ++round) {
        udisks2.reset();
        EXPECT_TRUE(waitFor([&] { return timesSaid("UDisks2 is gone") == round; }));
        udisks2 = std::make_unique<FakeUDisks2>(sataDisk());
        EXPECT_TRUE(waitFor([&] { return timesSaid("UDisks2 is there") == round; }));
    }
}

TEST_F(UDisks2SourceTest, HasNoMadeUpMachineToPlugInto)
{
    startOver(sataDisk());
    const ProcessResult refused = runProgram({MachineProvider::PROGRAM, "plug", "stick"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.output, "vrudisks: the provider that runs serves no made-up machine\n");
}
