#include "provider/udev/UdevSource.h"

#include <gmock/gmock.h>

#include <QTimer>

#include "interfaces/ObjectPath.h"
#include "tests/provider/udev/FakeUdev.h"
#include "tests/provider/udev/RecordedMachine.h"
#include "tests/support/WaitFor.h"

using namespace std::chrono_literals;
using Kind = Udev::Event::Kind;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// One run of the source over a machine with a stick, a card reader as sdc and other devices of the records.
class Watched
{
public:
    Watched(const RecordedMachine& machine, std::vector<BlockDevice> present, const std::string& stateFile,
            std::chrono::milliseconds patience = 60s, std::chrono::milliseconds calm = 0s)
        : source(std::unique_ptr<Udev>(udev), machine.sysfs(), LastState(stateFile), patience, calm)
    {
        udev->database = std::move(present);
        const auto name = [](const QString& path) {
            return path.section(QLatin1Char('/'), -1).toStdString();
        };
        QObject::connect(&source, &DeviceSource::added, [=](const QString& path) {
            said.push_back("added " + name(path) + (source.find(path) != nullptr ? "" : " (unreadable)"));
        });
        QObject::connect(&source, &DeviceSource::changed,
                         [=](const QString& path) { said.push_back("changed " + name(path)); });
        QObject::connect(&source, &DeviceSource::removed,
                         [=](const QString& path) { said.push_back("removed " + name(path)); });
        QObject::connect(&source, &DeviceSource::ready, [this] { said.emplace_back("ready"); });
        QObject::connect(&source, &UdevSource::noted,
                         [this](const QString& text) { notes.push_back(text.toStdString()); });
    }

    void start()
    {
        source.start();
        QCoreApplication::processEvents();
    }

    /// udev's queue has become empty.
    void settle()
    {
        Q_EMIT udev->settled();
        lookAround();
    }

    /// Lost announcements are looked for, one device in each turn of the event loop.
    void lookAround()
    {
        constexpr std::size_t TurnsBesides = 3;
        for (std::size_t turn = 0; turn < udev->database.size() + TurnsBesides; ++turn) {
            QCoreApplication::processEvents();
        }
    }

    /// The lines since the last call.
    std::vector<std::string> news() { return std::exchange(said, {}); }

    std::vector<std::string> names() const
    {
        std::vector<std::string> result;
        for (const Device* device : source.devices()) {
            result.push_back(device->objectPath.section(QLatin1Char('/'), -1).toStdString());
        }
        return result;
    }

    QVariant shown(const char* name, const char* property) const
    {
        const Device* device = source.find(ObjectPath::ofDevice(name));
        return device != nullptr ? device->properties.value(QString::fromLatin1(property)) : QVariant();
    }

    FakeUdev* udev = new FakeUdev;
    UdevSource source;
    std::vector<std::string> said;
    std::vector<std::string> notes;
};

class UdevSourceTest : public testing::Test
{
protected:
    BlockDevice device(const char* name, const BlockDevice::Properties& others = {}) const
    {
        return machine.device(name, others);
    }

    BlockDevice uninitialized(const char* name) const { return device(name, {{"USEC_INITIALIZED", ""}}); }

    std::vector<BlockDevice> devices(const std::vector<const char*>& names) const
    {
        std::vector<BlockDevice> result;
        result.reserve(names.size());
        for (const char* name : names) {
            result.push_back(device(name));
        }
        return result;
    }

    Watched run(const std::vector<const char*>& names) const { return {machine, devices(names), stateFile}; }

    RecordedMachine machine{{"sata", "stick", "luks", "loop"}};
    TemporaryDirectory directory;
    std::string stateFile = directory.path() + "/state";
};

} // namespace

// --- the start

TEST_F(UdevSourceTest, ShowsWhatIsThereInTheOrderOfThePlacesWithoutAnnouncingIt)
{
    Watched here(machine, devices({"dm-0", "loop1", "sdb1", "sdb", "sda5", "sda2", "sda1", "sda"}),
                 stateFile);
    here.start();
    EXPECT_THAT(here.news(), ElementsAre("ready"));
    EXPECT_THAT(here.names(), ElementsAre("sdb", "sdb1", "sda", "sda1", "sda2", "sda5", "dm_2d0"));
    EXPECT_THAT(here.notes, IsEmpty());
}

TEST_F(UdevSourceTest, IsReadyWhenUdevsQueueIsEmptyAndEveryDeviceIsInitialized)
{
    Watched here(machine, {uninitialized("sdb"), device("sda"), uninitialized("loop1")}, stateFile);
    here.udev->idle = false;
    here.start();
    here.settle();
    EXPECT_THAT(here.news(), IsEmpty());
    here.udev->idle = true;
    here.settle();
    EXPECT_THAT(here.news(), IsEmpty());
    here.udev->database[0] = device("sdb");
    here.udev->announce(Kind::Came, device("sdb"));
    QCoreApplication::processEvents();
    EXPECT_THAT(here.news(), ElementsAre("ready"));
    EXPECT_THAT(here.names(), ElementsAre("sdb", "sda"));
}

TEST_F(UdevSourceTest, GoesWithoutTheRestAndSaysSoWhenUdevDoesNotSettle)
{
    Watched here(machine, {device("sda"), uninitialized("sdb"), uninitialized("sdb1")}, stateFile, 20ms);
    here.udev->idle = false;
    here.start();
    ASSERT_TRUE(waitFor([&] { return !here.said.empty(); }));
    EXPECT_THAT(here.news(), ElementsAre("ready"));
    EXPECT_THAT(here.names(), ElementsAre("sda"));
    EXPECT_THAT(
        here.notes,
        ElementsAre("udev has not settled in 0 s; not shown until it has dealt with them: sdb, sdb1"));
    QCoreApplication::processEvents();
    here.udev->announce(Kind::Came, device("sdb"));
    EXPECT_THAT(here.news(), ElementsAre("added sdb"));
}

TEST_F(UdevSourceTest, ShowsWhatTheKernelKnowsWhereNoUdevRuns)
{
    Watched here(machine, {uninitialized("sda")}, stateFile);
    here.udev->runs = false;
    here.udev->idle = false;
    here.start();
    EXPECT_THAT(here.news(), ElementsAre("ready"));
    EXPECT_THAT(here.names(), ElementsAre("sda"));
    EXPECT_THAT(here.notes,
                ElementsAre("udev does not run: the devices are not identified, and none is announced"));
}

TEST_F(UdevSourceTest, DoesNotAnnounceOnceMoreWhatWasAnnouncedWhileItWaited)
{
    Watched here(machine, devices({"sdb"}), stateFile);
    here.udev->idle = false;
    here.start();
    here.udev->announce(Kind::Came, device("sdb"));
    EXPECT_THAT(here.news(), IsEmpty());
    here.udev->idle = true;
    here.settle();
    QCoreApplication::processEvents();
    EXPECT_THAT(here.news(), ElementsAre("ready"));
    here.udev->announce(Kind::Came, device("sdb"));
    EXPECT_THAT(here.news(), IsEmpty());
}

TEST_F(UdevSourceTest, LosesNoPatienceWithAUdevThatHasSettled)
{
    Watched here(machine, devices({"sda"}), stateFile, 10ms);
    here.start();
    bool isOver = false;
    QTimer::singleShot(30ms, [&] { isOver = true; });
    ASSERT_TRUE(waitFor([&] { return isOver; }));
    EXPECT_THAT(here.news(), ElementsAre("ready"));
    EXPECT_THAT(here.notes, IsEmpty());
}

TEST_F(UdevSourceTest, ShowsWhenADeviceWasDetectedByTheClockOnTheWall)
{
    const auto sinceBoot = std::chrono::steady_clock::now().time_since_epoch() / 1us;
    const auto now = std::chrono::system_clock::now().time_since_epoch() / 1s;
    Watched here(machine, {device("sda", {{"USEC_INITIALIZED", QByteArray::number(qlonglong(sinceBoot))}})},
                 stateFile);
    here.start();
    EXPECT_NEAR(here.shown("sda", "DeviceDetectionTime").toDouble(), double(now), 2);
}

// --- plug, change and unplug

TEST_F(UdevSourceTest, AnnouncesEachDeviceOnceAndIdentified)
{
    Watched here = run({"sda"});
    here.start();
    here.news();
    here.udev->database.push_back(uninitialized("sdb"));
    here.settle();
    EXPECT_THAT(here.news(), IsEmpty());
    here.udev->database = devices({"sda", "sdb", "sdb1"});
    here.udev->announce(Kind::Came, device("sdb"));
    EXPECT_THAT(here.news(), ElementsAre("added sdb"));
    here.udev->announce(Kind::Came, device("sdb1"));
    EXPECT_THAT(here.news(), ElementsAre("added sdb1"));
    EXPECT_EQ(here.shown("sdb1", "IdLabel"), QVariant(QStringLiteral("MY STICK")));
    here.udev->announce(Kind::Came, device("sdb1"));
    here.udev->announce(Kind::Lost);
    here.settle();
    EXPECT_THAT(here.news(), IsEmpty());
}

TEST_F(UdevSourceTest, AnnouncesThePartitionsOfADiskThatGoesFirst)
{
    Watched here = run({"sda", "sda1", "sda5", "sdb", "sdb1"});
    here.start();
    here.news();
    machine.removeFromSysfs(device("sda").path().toStdString());
    here.udev->announce(Kind::Gone, device("sda"));
    EXPECT_THAT(here.news(), ElementsAre("removed sda5", "removed sda1", "removed sda"));
    here.udev->announce(Kind::Gone, device("sda1"));
    EXPECT_THAT(here.news(), IsEmpty());
    EXPECT_THAT(here.names(), ElementsAre("sdb", "sdb1"));
}

TEST_F(UdevSourceTest, LetsADeviceBeReadWhileItGoes)
{
    Watched here = run({"sdb"});
    here.start();
    QVariant label;
    QObject::connect(&here.source, &DeviceSource::removed, [&] { label = here.shown("sdb", "DriveModel"); });
    here.udev->announce(Kind::Gone, device("sdb"));
    EXPECT_EQ(label, QVariant(QStringLiteral("Ultra Stick")));
}

TEST_F(UdevSourceTest, AnnouncesThePartitionsOfACardThatIsTakenOutAsRemovedAndAsAddedWhenItIsBack)
{
    const std::string disk = device("sdb").path().toStdString();
    Watched here = run({"sdb", "sdb1"});
    here.start();
    here.news();
    machine.setAttribute(disk + "/size", "0");
    here.udev->announce(Kind::Changed, device("sdb"));
    EXPECT_THAT(here.news(), ElementsAre("removed sdb1", "changed sdb"));
    here.udev->announce(Kind::Changed, device("sdb1"));
    here.settle();
    EXPECT_THAT(here.news(), IsEmpty());
    machine.setAttribute(disk + "/size", "7892992");
    here.udev->announce(Kind::Changed, device("sdb"));
    EXPECT_THAT(here.news(), ElementsAre("changed sdb"));
    here.settle();
    EXPECT_THAT(here.news(), ElementsAre("added sdb1"));
}

TEST_F(UdevSourceTest, AnnouncesAChangeWhetherItShowsOrNot)
{
    Watched here = run({"sdb"});
    here.start();
    here.news();
    here.udev->announce(Kind::Changed, device("sdb"));
    EXPECT_THAT(here.news(), ElementsAre("changed sdb"));
    here.udev->announce(Kind::Changed, device("sdb", {{"ID_FS_UUID_ENC", "1234-5678"}}));
    EXPECT_THAT(here.news(), ElementsAre("changed sdb"));
    EXPECT_EQ(here.shown("sdb", "IdUuid"), QVariant(QStringLiteral("1234-5678")));
    here.udev->announce(Kind::Changed, device("sdb", {{"ID_FS_UUID_ENC", "8765-4321"}}));
    EXPECT_THAT(here.news(), ElementsAre("changed sdb"));
}

TEST_F(UdevSourceTest, AnnouncesOtherAttributesOfAPartitionAsAChange)
{
    const BlockDevice plain = device("sdb1", {{"ID_PART_ENTRY_SCHEME", "gpt"}});
    const BlockDevice hidden =
        device("sdb1", {{"ID_PART_ENTRY_SCHEME", "gpt"}, {"ID_PART_ENTRY_FLAGS", "0x4000000000000000"}});
    Watched here(machine, {plain}, stateFile);
    here.start();
    here.news();
    here.udev->announce(Kind::Came, hidden);
    EXPECT_THAT(here.news(), ElementsAre("changed sdb1"));
}

TEST_F(UdevSourceTest, AnnouncesADeviceThatChangesIntoOneThatIsShownAndBack)
{
    const std::string path = device("loop1").path().toStdString();
    Watched here = run({"loop1"});
    here.start();
    here.news();
    machine.setAttribute(path + "/loop/backing_file", "/tmp/image");
    here.udev->announce(Kind::Changed, device("loop1"));
    EXPECT_THAT(here.news(), ElementsAre("added loop1"));
    machine.removeFromSysfs(path + "/loop");
    here.udev->announce(Kind::Changed, device("loop1"));
    EXPECT_THAT(here.news(), ElementsAre("removed loop1"));
}

TEST_F(UdevSourceTest, AnnouncesAnotherDeviceUnderAnOldName)
{
    Watched here = run({"sdb"});
    here.start();
    here.news();
    here.udev->announce(Kind::Came, device("sdb", {{"USEC_INITIALIZED", "999999999"}}));
    EXPECT_THAT(here.news(), ElementsAre("removed sdb", "added sdb"));
}

TEST_F(UdevSourceTest, AnnouncesAnotherFileBehindALoopDeviceAsAnotherDevice)
{
    Watched here = run({"loop0"});
    here.start();
    here.news();
    machine.setAttribute(device("loop0").path().toStdString() + "/loop/backing_file", "/tmp/other");
    here.udev->announce(Kind::Changed, device("loop0"));
    EXPECT_THAT(here.news(), ElementsAre("removed loop0", "added loop0"));
}

TEST_F(UdevSourceTest, ShowsOnOtherDevicesWhatComesAndGoes)
{
    const std::string encrypted = device("sde1").path().toStdString();
    machine.removeFromSysfs(encrypted + "/holders/dm-0");
    Watched here = run({"sde1"});
    here.start();
    here.news();
    machine.link(encrypted + "/holders/dm-0", device("dm-0").path().toStdString());
    here.udev->announce(Kind::Came, device("dm-0"));
    EXPECT_THAT(here.news(), ElementsAre("added dm_2d0", "changed sde1"));
    machine.removeFromSysfs(encrypted + "/holders/dm-0");
    here.udev->announce(Kind::Gone, device("dm-0"));
    EXPECT_THAT(here.news(), ElementsAre("removed dm_2d0", "changed sde1"));
}

TEST_F(UdevSourceTest, CountsThePartitionsOfADiskAnew)
{
    const std::string partition = device("sdb1").path().toStdString();
    Watched here = run({"sdb", "sdb1"});
    here.start();
    here.news();
    machine.removeFromSysfs(partition);
    here.udev->announce(Kind::Gone, device("sdb1"));
    EXPECT_THAT(here.news(), ElementsAre("removed sdb1", "changed sdb"));
    EXPECT_EQ(here.shown("sdb", "PartitionTableCount"), QVariant(0));
}

TEST_F(UdevSourceTest, KeepsTheOrderOfTheEnumeration)
{
    Watched here = run({"sda", "sda1"});
    here.start();
    here.udev->announce(Kind::Came, device("sdb"));
    here.udev->announce(Kind::Came, device("sdb1"));
    EXPECT_THAT(here.names(), ElementsAre("sdb", "sdb1", "sda", "sda1"));
}

// --- what is lost on the way

TEST_F(UdevSourceTest, AnnouncesTheDifferenceAfterALossAndWhenUdevHasSettled)
{
    for (const bool isLoss : {true, false}) {
        Watched here(machine, devices({"sda", "sdb", "sdb1", "loop0"}), stateFile + (isLoss ? "1" : "2"));
        here.start();
        here.news();
        here.udev->database = {device("loop0"), device("sda"), device("sda1"), uninitialized("sdb")};
        if (isLoss) {
            here.udev->announce(Kind::Lost);
            here.lookAround();
        } else {
            here.settle();
        }
        EXPECT_THAT(here.news(), ElementsAre("removed sdb1", "added sda1", "removed sdb"));
    }
}

TEST_F(UdevSourceTest, DoesOneThingInEachTurnOfTheEventLoop)
{
    Watched here(machine, devices({"sda"}), stateFile, 60s, 60s);
    here.start();
    here.news();
    here.udev->database = devices({"sda", "sda1", "loop0"});
    here.udev->announce(Kind::Lost);
    here.udev->events = {{Kind::Came, device("sdb")}, {Kind::Came, device("sdb1")}};
    Q_EMIT here.udev->announced();
    EXPECT_THAT(here.news(), ElementsAre("added sdb"));
    const std::vector<std::vector<std::string>> turns{{"added sdb1"}, {}, {"added sda1"}, {"added loop0"}};
    for (const std::vector<std::string>& turn : turns) {
        QCoreApplication::processEvents();
        EXPECT_EQ(here.news(), turn);
        EXPECT_EQ(LastState(stateFile).read()->size(), here.source.devices().size());
    }
}

TEST_F(UdevSourceTest, LooksAroundWhenUdevHasBeenIdleForAWhile)
{
    Watched here(machine, devices({"sda"}), stateFile, 60s, 60s);
    here.start();
    here.news();
    here.udev->database = devices({"sda", "sda1"});
    here.settle();
    EXPECT_THAT(here.news(), IsEmpty());
}

TEST_F(UdevSourceTest, KnowsAnotherMediumWhenItLooksAgain)
{
    Watched here = run({"sdb1"});
    here.start();
    here.news();
    here.udev->database = {device("sdb1", {{"ID_FS_UUID_ENC", "9999-9999"}})};
    here.udev->announce(Kind::Lost);
    here.lookAround();
    EXPECT_THAT(here.news(), ElementsAre("removed sdb1", "added sdb1"));
}

TEST_F(UdevSourceTest, ReadsAgainInALookOnlyWhatMayHaveChanged)
{
    Watched here = run({"sda", "sdb"});
    here.start();
    here.news();
    const auto setReadOnly = [&](const char* name) {
        machine.setAttribute(device(name).path().toStdString() + "/ro", "1");
    };
    setReadOnly("sda");
    here.settle();
    EXPECT_EQ(here.shown("sda", "DeviceIsReadOnly"), QVariant(false));
    machine.setAttribute(device("sda").path().toStdString() + "/size", "8");
    here.settle();
    EXPECT_EQ(here.shown("sda", "DeviceIsReadOnly"), QVariant(true));
    setReadOnly("sdb");
    here.udev->database.back() = device("sdb", {{"ID_SERIAL", "another"}});
    here.settle();
    EXPECT_EQ(here.shown("sdb", "DeviceIsReadOnly"), QVariant(true));
}

// --- what came and went between two runs

TEST_F(UdevSourceTest, AnnouncesWhatCameAndWentBetweenTwoRunsAfterItIsReady)
{
    run({"sda", "sda1", "sdb", "sdb1"}).start();
    Watched here = run({"sda", "sda1", "dm-0"});
    here.start();
    EXPECT_THAT(here.news(), ElementsAre("ready", "removed sdb1", "removed sdb", "added dm_2d0"));
    Watched next = run({"sda", "sda1", "dm-0"});
    next.start();
    EXPECT_THAT(next.news(), ElementsAre("ready"));
}

TEST_F(UdevSourceTest, KnowsADeviceThatTookThePlaceOfAnotherBetweenTwoRuns)
{
    const struct
    {
        const char* property;
        const char* value;
        bool isAnother;
    } table[] = {
        {"USEC_INITIALIZED", "999999999", true}, {"MINOR", "32", true},
        {"ID_FS_UUID_ENC", "5678", true},        {"ID_FS_LABEL_ENC", "NEW", false},
        {"ID_FS_UUID_ENC", "", false},
    };
    for (const auto& row : table) {
        Watched before(machine, {device("sdb1")}, stateFile);
        before.start();
        Watched now(machine, {device("sdb1", {{row.property, row.value}})}, stateFile);
        now.start();
        now.said.erase(now.said.begin());
        const std::vector<std::string> both{"removed sdb1", "added sdb1"};
        EXPECT_EQ(now.news(), row.isAnother ? both : std::vector<std::string>()) << row.property << row.value;
    }
}

TEST_F(UdevSourceTest, RemembersEveryAnnouncement)
{
    {
        Watched here = run({"sda"});
        here.start();
        here.udev->announce(Kind::Came, device("sdb"));
        here.udev->announce(Kind::Came, device("sdb1"));
        here.udev->announce(Kind::Gone, device("sda"));
    }
    Watched next = run({"sdb", "sdb1"});
    next.start();
    EXPECT_THAT(next.news(), ElementsAre("ready"));
}

TEST_F(UdevSourceTest, FollowsOnlyWhenWhatWasMissedIsAnnounced)
{
    run({"sdb"}).start();
    Watched here = run({"sda"});
    QObject::connect(&here.source, &DeviceSource::ready,
                     [&] { here.udev->announce(Kind::Came, device("sda1")); });
    here.start();
    EXPECT_THAT(here.news(), ElementsAre("ready", "removed sdb", "added sda", "added sda1"));
}
