#include <algorithm>

#include <gmock/gmock.h>

#include <QDBusObjectPath>

#include "interfaces/ObjectPath.h"
#include "kernel/MountTable.h"
#include "provider/DeviceView.h"
#include "provider/udev/UdevDevice.h"
#include "tests/provider/udev/RecordedMachine.h"

namespace {

/// 2023-11-14 22:13:20 UTC, in microseconds.
constexpr qlonglong BootTime = 1700000000000000;

std::string written(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<QDBusObjectPath>()) {
        return value.value<QDBusObjectPath>().path().section(QLatin1Char('/'), -1).toStdString();
    }
    const QString text = value.userType() == QMetaType::QStringList
                             ? value.toStringList().join(QStringLiteral(" | "))
                             : value.toString();
    return QString(text).replace(QLatin1Char('\n'), QStringLiteral("\\n")).toStdString();
}

std::string joined(const std::vector<std::string>& lines)
{
    std::string result;
    for (const std::string& line : lines) {
        result += line + "\n";
    }
    return result;
}

/// All that is shown and not empty, as the records write it.
std::vector<std::string> shown(const std::optional<UdevDevice>& device)
{
    if (!device) {
        return {"not shown"};
    }
    std::vector<std::string> lines;
    const QVariantMap& properties = device->device.properties;
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        const std::string text = written(*property);
        if (!text.empty() && text != "false" && text != "0") {
            lines.push_back(property.key().toStdString() + ": " + text);
        }
    }
    if (device->device.partitionAttributes != 0) {
        lines.push_back("GPT attributes: " +
                        QString::number(device->device.partitionAttributes, 16).toStdString());
    }
    return lines;
}

class RecordTest : public testing::TestWithParam<std::string>
{
protected:
    RecordedMachine machine{{GetParam()}};
};

} // namespace

TEST_P(RecordTest, IsShownInFull)
{
    for (const BlockDevice& device : machine.devices()) {
        const std::string name = device.name().toStdString();
        EXPECT_EQ(joined(shown(shownAs(device, machine.sysfs(), BootTime))), joined(machine.expected(name)))
            << name;
    }
}

TEST_P(RecordTest, HasEveryPropertyInTheTypeOfTheInterface)
{
    MountTable mounts;
    for (const BlockDevice& device : machine.devices()) {
        const auto found = shownAs(device, machine.sysfs(), BootTime);
        const QVariantMap properties = found ? found->device.properties : QVariantMap();
        for (auto given = properties.begin(); given != properties.end(); ++given) {
            const QVariant empty = DeviceView::property(Device(), mounts, given.key()).value_or(QVariant());
            EXPECT_EQ(given->userType(), empty.userType()) << given.key().toStdString();
        }
    }
}

TEST(UdevDeviceTest, IsNotShownWithoutANumber)
{
    const RecordedMachine machine({"sata"});
    const BlockDevice hidden = machine.device("sda", {{"MAJOR", ""}, {"MINOR", ""}});
    EXPECT_EQ(shown(shownAs(hidden, machine.sysfs(), BootTime)), std::vector<std::string>{"not shown"});
}

TEST(UdevDeviceTest, StandsOnItsDiskOrOnWhatItIsMappedTo)
{
    const RecordedMachine machine({"luks", "multipath"});
    for (const auto& [name, basis] :
         {std::pair{"sde1", "sde"}, {"dm-0", "sde1"}, {"dm-3", "sdg"}, {"sde", ""}}) {
        const auto found = shownAs(machine.device(name), machine.sysfs(), BootTime);
        const QStringList expected =
            *basis != '\0' ? QStringList(ObjectPath::ofDevice(basis)) : QStringList();
        EXPECT_EQ(found->device.basis, expected) << name;
    }
}

TEST(UdevDeviceTest, NoticesOnlyAnAnnouncedChangeOfTheMedium)
{
    const RecordedMachine machine({"stick"});
    machine.setAttribute(machine.device("sdb").path().toStdString() + "/events", "");
    const auto stick = shownAs(machine.device("sdb"), machine.sysfs(), BootTime);
    EXPECT_EQ(stick->device.properties.value(QStringLiteral("DeviceIsMediaChangeDetected")), QVariant(false));
}

TEST(UdevDeviceTest, HasALabelThatEndsAtANul)
{
    EXPECT_EQ(BlockDevice({{"LABEL", "A\\x00B"}}).decodedText("LABEL"), QStringLiteral("A"));
}

TEST(SysfsTest, SortsNamesAndHasNothingForWhatIsNotThere)
{
    const RecordedMachine machine({});
    for (const char* name : {"b", "a", "d", "c"}) {
        machine.setAttribute(std::string("/devices/x/holders/") + name, "12 ");
    }
    const Sysfs sysfs = machine.sysfs();
    EXPECT_EQ(sysfs.names("/devices/x", "holders"), QByteArrayList({"a", "b", "c", "d"}));
    EXPECT_EQ(sysfs.names("/devices/y", "holders"), QByteArrayList());
    EXPECT_EQ(sysfs.value("/devices/x", "holders/a"), "12 ");
    EXPECT_EQ(sysfs.value("/devices/x", "nothing"), QByteArray());
    EXPECT_EQ(sysfs.number("/devices/x", "nothing", 512), 512U);
    EXPECT_EQ(sysfs.target("/nowhere"), QByteArray());
}

INSTANTIATE_TEST_SUITE_P(Kinds, RecordTest, testing::ValuesIn(RecordedMachine::allNames()),
                         [](const auto& each) {
                             std::string name = each.param;
                             name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                             return name;
                         });
