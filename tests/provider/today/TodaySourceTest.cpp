#include <fstream>

#include <gmock/gmock.h>

#include <sys/sysmacros.h>

#include "provider/today/TodaySource.h"
#include "tests/provider/today/FakeSysfs.h"
#include "tests/provider/today/SampleDevices.h"

using namespace SampleDevices;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Devices that a test makes come, change and go.
class ScriptedSource : public DeviceSource
{
public:
    void start() override { Q_EMIT ready(); }
    std::vector<const Device*> devices() const override
    {
        std::vector<const Device*> result;
        for (const Device& device : present) {
            result.push_back(&device);
        }
        return result;
    }

    void add(const Device& device)
    {
        present.push_back(device);
        Q_EMIT added(device.objectPath);
    }
    void change(std::size_t at, const char* property, const QVariant& value)
    {
        present[at].properties.insert(QString::fromLatin1(property), value);
        Q_EMIT changed(present[at].objectPath);
    }
    void remove(std::size_t at)
    {
        Q_EMIT removed(present[at].objectPath);
        present.erase(present.begin() + static_cast<std::ptrdiff_t>(at));
    }
    void removeUnknown(const QString& objectPath) { Q_EMIT removed(objectPath); }
    void addAgain(std::size_t at) { Q_EMIT added(present[at].objectPath); }

    std::vector<Device> present;
};

QString node(const char* name)
{
    return QString::fromLatin1(name);
}

Device stick(const char* name, const char* label)
{
    return external(node(name), QStringLiteral("vfat"), QString::fromLatin1(label));
}

/// The announcements, with what can be read at that moment.
class TodaySourceTest : public testing::Test
{
protected:
    void start(const Rules::Selection& rules = Rules::allBut({}))
    {
        today = std::make_unique<TodaySource>(source, rules, BlockStack(Sysfs(sysfs.path())), mountInfo);
        const auto record = [this](const char* what) {
            return [this, what](const QString& path) { note(what, path); };
        };
        QObject::connect(today.get(), &DeviceSource::ready, [this] { heard.emplace_back("ready"); });
        QObject::connect(today.get(), &DeviceSource::added, record("added"));
        QObject::connect(today.get(), &DeviceSource::changed, record("changed"));
        QObject::connect(today.get(), &DeviceSource::removed, record("removed"));
        today->start();
    }

    void note(const char* what, const QString& path)
    {
        const Device* device = today->find(path);
        const QString label =
            device != nullptr ? device->properties.value(node("IdLabel")).toString() : node("unreadable");
        heard.push_back((node("%1 %2 %3").arg(node(what), path.section(node("/"), -1), label)).toStdString());
    }

    std::vector<std::string> names() const { return nodes(today->picture()); }

    TemporaryDirectory directory;
    const std::string mountInfo = directory.path() + "/mountinfo";
    FakeSysfs sysfs;
    ScriptedSource source;
    std::unique_ptr<TodaySource> today;
    std::vector<std::string> heard;
};

} // namespace

TEST_F(TodaySourceTest, ShowsAtTheStartWhatIsPresented)
{
    source.present = {internal(node("sda1"), node("ext4")), internal(node("sda2"), node("ntfs")),
                      device(node("loop0")), stick("sdb1", "A"), stick("sdc1", "A")};
    start();
    EXPECT_THAT(heard, ElementsAre("ready"));
    std::vector<std::string> offered;
    for (const Device* one : today->devices()) {
        offered.push_back(one->objectPath.section(node("/"), -1).toStdString());
    }
    EXPECT_THAT(offered, ElementsAre("sda2", "sda1", "sdb1", "sdc1"));
    EXPECT_EQ(today->find(source.present[2].objectPath), nullptr);
    EXPECT_EQ(today->picture().size(), 5U);
}

TEST_F(TodaySourceTest, AnnouncesEachOnceWhileItCanBeRead)
{
    start();
    source.add(stick("sdb1", "A"));
    source.add(stick("sdc1", "A"));
    source.add(device(node("loop0")));
    source.remove(2);
    source.remove(1);
    source.remove(0);
    EXPECT_THAT(heard,
                ElementsAre("ready", "added sdb1 A", "added sdc1 A_2", "removed sdc1 A_2", "removed sdb1 A"));
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(TodaySourceTest, KeepsTheNameOfADeviceUntilItGoes)
{
    start();
    source.add(stick("sdb1", "A"));
    source.add(stick("sdc1", "A"));
    source.remove(0);
    source.add(stick("sdd1", "A"));
    source.change(0, "DeviceSize", qulonglong(1));
    source.remove(0);
    source.add(stick("sde1", "A"));
    EXPECT_THAT(heard, ElementsAre("ready", "added sdb1 A", "added sdc1 A_2", "removed sdb1 A",
                                   "added sdd1 A", "changed sdc1 A_2", "removed sdc1 A_2", "added sde1 A_2"));
}

TEST_F(TodaySourceTest, AnnouncesAsAddedAndRemovedWhatAChangeMakesPresentableAndNot)
{
    QVariantMap efi{{node("PartitionScheme"), node("mbr")}, {node("PartitionType"), node("0xef")}};
    Device disk = device(node("sdb"));
    disk.number = makedev(8, 16);
    source.present = {disk, external(node("sdb1"), node("vfat"), node("E"), efi)};
    sysfs.addDisk("sdb", "8:16");
    std::ofstream(mountInfo) << "1 0 8:16 / / rw - ext4 /dev/sdb rw\n";
    start();
    EXPECT_THAT(names(), IsEmpty());
    source.change(1, "IdVersion", node("x"));
    source.change(1, "PartitionType", node("0x0c"));
    source.change(1, "IdVersion", node("y"));
    source.change(1, "PartitionType", node("0xef"));
    source.remove(1);
    EXPECT_THAT(heard, ElementsAre("ready", "added sdb1 E", "changed sdb1 E", "removed sdb1 E"));
}

TEST_F(TodaySourceTest, AnnouncesAChangedNameOnce)
{
    start();
    source.add(stick("sdb1", "A"));
    source.change(0, "IdLabel", node("C:"));
    source.change(0, "IdLabel", node("C:"));
    EXPECT_THAT(heard, ElementsAre("ready", "added sdb1 A", "changed sdb1 C_", "changed sdb1 C_"));
}

TEST_F(TodaySourceTest, PassesOnWhatCameAndWentWhileNoProviderRan)
{
    source.present = {stick("sdb1", "A"), stick("sdc1", "B")};
    start();
    source.removeUnknown(device(node("sdd1")).objectPath);
    source.addAgain(1);
    EXPECT_THAT(heard, ElementsAre("ready", "removed sdd1 unreadable", "added sdc1 B"));
}

TEST_F(TodaySourceTest, AnnouncesADeviceThatTookThePlaceOfAnother)
{
    source.present = {stick("sdb1", "NEW")};
    start();
    const Device other = source.present[0];
    source.remove(0);
    source.add(other);
    EXPECT_THAT(heard, ElementsAre("ready", "removed sdb1 NEW", "added sdb1 NEW"));
}

TEST_F(TodaySourceTest, SaysNothingBeforeItIsReady)
{
    TodaySource early(source, Rules::allBut({}), BlockStack(Sysfs(sysfs.path())), mountInfo);
    QObject::connect(&early, &DeviceSource::added, [this] { heard.emplace_back("added"); });
    QObject::connect(&early, &DeviceSource::removed, [this] { heard.emplace_back("removed"); });
    source.add(stick("sdb1", "A"));
    source.remove(0);
    EXPECT_THAT(heard, IsEmpty());
}

TEST_F(TodaySourceTest, KnowsTheNamesOfAnEarlierRunByWhatIsMounted)
{
    source.present = {stick("sdb1", "A"), stick("sdc1", "A"), stick("sdd1", "B")};
    source.present[0].number = makedev(8, 17);
    source.present[1].number = makedev(8, 33);
    std::ofstream(mountInfo) << "1 0 8:17 / /media/A_5 rw - vfat /dev/disk/by-label/A rw\n"
                                "2 0 0:50 / /media/A rw - btrfs /dev/sdc1 rw\n"
                                "3 0 8:33 / /mnt/sdc1 rw - vfat /dev/sdc1 rw\n"
                                "4 0 8:49 / /media/other rw - vfat /dev/sdd1 rw\n";
    start();
    EXPECT_THAT(shown(today->picture(), "IdLabel"), ElementsAre("A_5", "A", "B"));
}

TEST_F(TodaySourceTest, ChangesNothingWithoutRules)
{
    source.present = {internal(node("nvme0n1p1"), node("ext4")), device(node("loop0")), stick("sdb1", "C:"),
                      stick("sdc1", "C:"), internal(node("sda1"), node("ntfs"))};
    start({});
    EXPECT_THAT(names(), ElementsAre("nvme0n1p1", "loop0", "sdb1", "sdc1", "sda1"));
    EXPECT_THAT(shown(today->picture(), "IdLabel"), ElementsAre("", "", "C:", "C:", ""));
    EXPECT_THAT(shown(today->picture(), "DeviceMajor"), ElementsAre("259", "259", "8", "8", "8"));
}
