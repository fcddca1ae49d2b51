#include <fstream>

#include <gmock/gmock.h>

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>

#include "interfaces/InterfaceDescription.h"
#include "kernel/MountTable.h"
#include "provider/DeviceTree.h"
#include "provider/Dispatch.h"
#include "provider/MachineObject.h"
#include "provider/machine/MachineSource.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

constexpr const char* AtDaemon = "/org/freedesktop/UDisks";
constexpr const char* AtDevices = "/org/freedesktop/UDisks/devices";
constexpr const char* AtDevice = "/org/freedesktop/UDisks/devices/sda1";
constexpr const char* DaemonInterface = "org.freedesktop.UDisks";
constexpr const char* DeviceInterface = "org.freedesktop.UDisks.Device";
constexpr const char* Properties = "org.freedesktop.DBus.Properties";
constexpr const char* Introspectable = "org.freedesktop.DBus.Introspectable";
constexpr const char* MachineInterface = "org.vorna.vrudisks.Machine";

QString qt(const char* text)
{
    return QString::fromUtf8(text);
}

QVariant text(const char* value)
{
    return qt(value);
}

/// A call, and the error that answers it; "" is none.
struct Row
{
    const char* path;
    const char* interface;
    const char* member;
    const char* signature;
    QVariantList arguments;
    std::string error;
};

BusCall callOf(const Row& row)
{
    return {qt(":1.7"), qt(row.path), qt(row.interface), qt(row.member), qt(row.signature), row.arguments};
}

std::string shownError(const BusReply& reply)
{
    return reply.error.toStdString();
}

std::string standard(const std::string& error)
{
    return error.empty() ? "" : "org.freedesktop.DBus.Error." + error;
}

class DispatchTest : public testing::Test
{
protected:
    DispatchTest()
    {
        const std::string file = directory.path() + "/m.ini";
        std::ofstream(file)
            << "[sda1]\nIdLabel = DATA\nIdUuid:missing =\n[stick]\nNode = sdb1\nPlugged = false\n";
        machine = std::make_unique<MachineSource>(file);
        machine->start();
    }

    BusReply answer(const Row& row) { return DeviceTree(*machine, mounts).answer(callOf(row)); }

    BusReply control(const Row& row, bool isAdmitted = true) const
    {
        const MachineObject object(*machine, [&](const QString& sender) {
            EXPECT_EQ(sender.toStdString(), ":1.7");
            return isAdmitted;
        });
        return Dispatch::answer(callOf(row), object);
    }

    TemporaryDirectory directory;
    std::unique_ptr<MachineSource> machine;
    MountTable mounts;
};

} // namespace

TEST_F(DispatchTest, AnswersWhatMakesNoSenseWithTheBussOwnErrors)
{
    const Row table[] = {
        // Member and signature are two things: joined to one text, each of these would be a method.
        {AtDevice, Properties, "Getss", "", {}, "UnknownMethod"},
        {AtDevice, Properties, "Gets", "s", {text("x")}, "UnknownMethod"},
        {AtDevice, Properties, "GetAlls", "", {}, "UnknownMethod"},
        {AtDevice, Properties, "Setssv", "", {}, "UnknownMethod"},
        {AtDevice, Properties, "Ge", "tss", {}, "UnknownMethod"},
        {AtDaemon, DaemonInterface, "FindDeviceByMajorMinorxx", "", {}, "UnknownMethod"},
        {AtDaemon, Introspectable, "Introspects", "", {}, "UnknownMethod"},
        // None, too few, too many and other arguments than a method takes.
        {AtDevice, Properties, "Get", "", {}, "InvalidArgs"},
        {AtDevice, Properties, "Get", "s", {text(DeviceInterface)}, "InvalidArgs"},
        {AtDevice, Properties, "Get", "sss", {text(""), text("IdLabel"), text("")}, "InvalidArgs"},
        {AtDevice, Properties, "Get", "su", {text(""), 1U}, "InvalidArgs"},
        {AtDevice, Properties, "Get", "as", {QStringList()}, "InvalidArgs"},
        {AtDevice, Properties, "GetAll", "", {}, "InvalidArgs"},
        {AtDevice, Properties, "GetAll", "o", {QVariant::fromValue(QDBusObjectPath(qt("/")))}, "InvalidArgs"},
        {AtDevice, Properties, "Set", "ss", {text(""), text("IdLabel")}, "InvalidArgs"},
        {AtDevice, Introspectable, "Introspect", "s", {text("")}, "InvalidArgs"},
        {AtDevice, "", "Introspect", "s", {text("")}, "InvalidArgs"},
        {AtDaemon, DaemonInterface, "EnumerateDevices", "i", {1}, "InvalidArgs"},
        {AtDaemon, DaemonInterface, "FindDeviceByDeviceFile", "", {}, "InvalidArgs"},
        {AtDaemon, DaemonInterface, "FindDeviceByMajorMinor", "ii", {8, 1}, "InvalidArgs"},
        // Objects, interfaces and properties that are not there.
        {"/", DaemonInterface, "EnumerateDevices", "", {}, "UnknownObject"},
        {"/org/freedesktop/UDisks/devices/sdz", Introspectable, "Introspect", "", {}, "UnknownObject"},
        {"/org/freedesktop/UDisks/devices/sda1/x", Properties, "GetAll", "s", {text("")}, "UnknownObject"},
        {"/org/freedesktop/UDisks/other", Properties, "GetAll", "s", {text("")}, "UnknownObject"},
        {AtDaemon, "org.freedesktop.DBus.ObjectManager", "GetManagedObjects", "", {}, "UnknownInterface"},
        {AtDaemon, DeviceInterface, "JobCancel", "as", {QStringList()}, "UnknownInterface"},
        {AtDevice, DaemonInterface, "EnumerateDevices", "", {}, "UnknownInterface"},
        {AtDevices, DaemonInterface, "EnumerateDevices", "", {}, "UnknownInterface"},
        {AtDevice, Properties, "Get", "ss", {text(DaemonInterface), text("IdLabel")}, "UnknownInterface"},
        {AtDevice, Properties, "GetAll", "s", {text(Properties)}, "UnknownInterface"},
        {AtDevice, Properties, "Get", "ss", {text(DeviceInterface), text("Nonsense")}, "UnknownProperty"},
        {AtDevice, Properties, "Get", "ss", {text(DeviceInterface), text("")}, "UnknownProperty"},
        {AtDevice, Properties, "Get", "ss", {text(DeviceInterface), text("IdUuid")}, "UnknownProperty"},
        {AtDaemon, Properties, "Get", "ss", {text(""), text("IdLabel")}, "UnknownProperty"},
        {AtDevices, Properties, "Get", "ss", {text(""), text("IdLabel")}, "UnknownProperty"},
        {AtDevice, "", "EnumerateDevices", "", {}, "UnknownMethod"},
        {AtDevice, "", "", "", {}, "UnknownMethod"},
        {AtDevices, "", "JobCancel", "as", {QStringList()}, "UnknownMethod"},
        {AtDevice,
         Properties,
         "Set",
         "ssv",
         {text(DeviceInterface), text("IdLabel"), QVariant::fromValue(QDBusVariant(1))},
         "PropertyReadOnly"},
        // Calls that make sense, with and without the names that may be left out.
        {AtDevice, Properties, "Get", "ss", {text(DeviceInterface), text("IdLabel")}, ""},
        {AtDevice, Properties, "Get", "ss", {text(""), text("IdLabel")}, ""},
        {AtDevice, "", "Get", "ss", {text(""), text("IdLabel")}, ""},
        {AtDevice, "", "Introspect", "", {}, ""},
        {AtDevices, Properties, "GetAll", "s", {text("")}, ""},
        {AtDaemon, "", "EnumerateDevices", "", {}, ""},
        {AtDaemon, DaemonInterface, "FindDeviceByMajorMinor", "xx", {qlonglong(8), qlonglong(1)}, ""},
    };
    for (const Row& row : table) {
        EXPECT_EQ(shownError(answer(row)), standard(row.error))
            << row.path << " " << row.interface << "." << row.member << "(" << row.signature << ")";
    }
}

TEST_F(DispatchTest, ReadsNoArgumentThatIsNotThere)
{
    for (const char* signature : {"ss", "s", "ssv", "xx", "sss"}) {
        for (const char* member :
             {"Get", "GetAll", "Set", "FindDeviceByDeviceFile", "FindDeviceByMajorMinor"}) {
            for (const char* path : {AtDaemon, AtDevice}) {
                answer({path, "", member, signature, {}, ""});
                answer({path, "", member, signature, {QVariant::fromValue(QDBusArgument()), QVariant()}, ""});
            }
        }
    }
}

TEST_F(DispatchTest, AnswersAPropertyWithItsValueInAVariant)
{
    const BusReply reply = answer({AtDevice, Properties, "Get", "ss", {text(""), text("IdLabel")}, ""});
    ASSERT_EQ(reply.values.size(), 1);
    EXPECT_EQ(reply.values[0].value<QDBusVariant>().variant(), text("DATA"));
    EXPECT_EQ(answer({AtDevices, Properties, "GetAll", "s", {text("")}, ""}).values,
              QVariantList({QVariantMap()}));
}

TEST_F(DispatchTest, AnswersNoRefusalWithMoreThanALineOfText)
{
    const QString longText(1000000, QLatin1Char('x'));
    const BusReply property = answer({AtDevice, Properties, "Get", "ss", {text(""), longText}, ""});
    EXPECT_EQ(property.message.toStdString(), "No such property");
    const BusReply section = control({"/", MachineInterface, "Plug", "s", {longText}, ""});
    EXPECT_EQ(section.message.size(), Dispatch::LongestMessage);
    EXPECT_THAT(section.message.toStdString(), testing::StartsWith("this machine has no device xxx"));
}

TEST_F(DispatchTest, DescribesAnObjectWithItsInterfacesAndWhatIsBelow)
{
    const auto described = [&](const char* path) {
        return answer({path, Introspectable, "Introspect", "", {}, ""}).values.value(0).toString();
    };
    for (const InterfaceDescription* interface :
         {&InterfaceDescription::device(), &InterfaceDescription::standardProperties(),
          &InterfaceDescription::standardIntrospectable(), &InterfaceDescription::standardPeer()}) {
        EXPECT_EQ(described(AtDevice).count(interface->xml()), 1) << interface->name().toStdString();
    }
    EXPECT_EQ(described(AtDevice).count(qt("<node name=")), 0);
    EXPECT_EQ(described(AtDaemon).count(InterfaceDescription::daemon().xml()), 1);
    EXPECT_EQ(described(AtDaemon).count(qt("<node name=\"devices\"/>")), 1);
    EXPECT_EQ(described(AtDevices).count(qt("<node name=\"sda1\"/>")), 1);
    EXPECT_EQ(described(AtDevices).count(qt("<interface")), 3);
    EXPECT_TRUE(described(AtDevices).startsWith(qt("<!DOCTYPE node PUBLIC \"-//freedesktop//DTD D-BUS ")));
    EXPECT_TRUE(described(AtDevices).endsWith(qt("\n</node>\n")));
}

TEST_F(DispatchTest, PlugsPullsAndChangesForThoseWhoMay)
{
    const Row plug{"/", MachineInterface, "Plug", "s", {text("stick")}, ""};
    const Row change{"/", MachineInterface, "Set", "sss", {text("stick"), text("IdLabel"), text("NEW")}, ""};
    const Row unplug{"/", MachineInterface, "Unplug", "s", {text("stick")}, ""};
    for (const Row& row : {plug, change, unplug}) {
        const BusReply refused = control(row, false);
        EXPECT_EQ(shownError(refused), standard("AccessDenied"));
        EXPECT_EQ(refused.message.toStdString(), "Only root may plug, pull and change devices");
    }
    EXPECT_EQ(machine->devices().size(), 1U);
    EXPECT_EQ(shownError(control(plug)), "");
    EXPECT_EQ(shownError(control(plug)), "org.vorna.vrudisks.Error.Refused");
    EXPECT_EQ(shownError(control(change)), "");
    ASSERT_EQ(machine->devices().size(), 2U);
    EXPECT_EQ(machine->devices()[1]->properties[qt("IdLabel")], text("NEW"));
    EXPECT_EQ(shownError(control(unplug)), "");
    EXPECT_EQ(machine->devices().size(), 1U);
}

TEST_F(DispatchTest, LetsAnybodyLookAtTheControlOfAMachine)
{
    const Row table[] = {
        {"/", Introspectable, "Introspect", "", {}, ""},
        {"/", Properties, "GetAll", "s", {text(MachineInterface)}, ""},
        {"/", Properties, "Get", "ss", {text(MachineInterface), text("Plug")}, "UnknownProperty"},
        {"/", MachineInterface, "Plug", "", {}, "InvalidArgs"},
        {"/", MachineInterface, "Set", "ss", {text("stick"), text("IdLabel")}, "InvalidArgs"},
        {"/", MachineInterface, "Eject", "", {}, "UnknownMethod"},
    };
    for (const Row& row : table) {
        EXPECT_EQ(shownError(control(row, false)), standard(row.error)) << row.interface << row.member;
    }
}
