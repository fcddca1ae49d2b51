#include <csignal>
#include <fstream>

#include <gmock/gmock.h>

#include <QDBusMetaType>
#include <QSet>

#include "interfaces/InterfaceDescription.h"
#include "interfaces/PropertyValue.h"
#include "tests/provider/UDisksClient.h"
#include "tests/support/BusBeforeMain.h"
#include "tests/support/MachineProvider.h"

using namespace UDisksClient;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr const char* Machine = "[sdb1]\nIdLabel = STICK\nDeviceFileById = /dev/disk/by-id/usb-1\n"
                                "[sda1]\nInternal = true\n"
                                "[md_d0]\n"
                                "[late]\nNode = sdc1\nPlugged = false\nIdType = vfat\n";

std::string signatureOf(const QVariant& value)
{
    return value.userType() == qMetaTypeId<QDBusArgument>()
               ? value.value<QDBusArgument>().currentSignature().toStdString()
               : QDBusMetaType::typeToSignature(value.userType());
}

/// One value of each type in `signature`, which holds no dictionaries.
QVariantList argumentsFor(const QString& signature)
{
    QVariantList result;
    for (int at = 0; at < signature.size(); ++at) {
        const int length = signature[at] == QLatin1Char('a') ? 2 : 1;
        result += PropertyValue::empty(signature.mid(at, length));
        at += length - 1;
    }
    return result;
}

class UDisksServiceTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (busBeforeMain() == nullptr) {
            GTEST_SKIP() << "dbus-daemon is not installed";
        }
        provider = std::make_unique<MachineProvider>(Machine);
    }

    std::unique_ptr<MachineProvider> provider;
};

} // namespace

TEST_F(UDisksServiceTest, EnumeratesInTheOrderOfTheFileAsSoonAsItsNameIsOnTheBus)
{
    EXPECT_THAT(enumerate(), ElementsAre("sdb1", "sda1", "md_5fd0"));
}

TEST_F(UDisksServiceTest, FindsDevicesByNodeLinkAndNumber)
{
    const auto byFile = [](const char* file) {
        return callDaemon("FindDeviceByDeviceFile", {QString::fromLatin1(file)});
    };
    EXPECT_EQ(deviceIn(byFile("/dev/sda1")), "sda1");
    EXPECT_EQ(deviceIn(byFile("/dev/disk/by-id/usb-1")), "sdb1");
    EXPECT_EQ(errorOf(byFile("/dev/sdz")), "org.freedesktop.UDisks.Error.Failed");
    const auto byNumber = [](qlonglong majorNumber, qlonglong minorNumber) {
        return callDaemon("FindDeviceByMajorMinor", {majorNumber, minorNumber});
    };
    EXPECT_EQ(deviceIn(byNumber(8, 17)), "sdb1");
    EXPECT_EQ(errorOf(byNumber(8, 18)), "org.freedesktop.UDisks.Error.Failed");
}

TEST_F(UDisksServiceTest, ListsNodesAndLinks)
{
    EXPECT_THAT(callDaemon("EnumerateDeviceFiles").arguments().value(0).toStringList(),
                ElementsAre(QStringLiteral("/dev/sdb1"), QStringLiteral("/dev/disk/by-id/usb-1"),
                            QStringLiteral("/dev/sda1"), QStringLiteral("/dev/md_d0")));
}

TEST_F(UDisksServiceTest, CarriesOutTheEnumerationsAndSaysThatTheRestIsNotSupported)
{
    const QSet<QString> carriedOut{
        QStringLiteral("EnumerateAdapters"),    QStringLiteral("EnumerateExpanders"),
        QStringLiteral("EnumeratePorts"),       QStringLiteral("EnumerateDevices"),
        QStringLiteral("EnumerateDeviceFiles"),
    };
    const QSet<QString> findsNothing{QStringLiteral("FindDeviceByDeviceFile"),
                                     QStringLiteral("FindDeviceByMajorMinor")};
    const QHash<QString, QString>& methods = InterfaceDescription::daemon().methods();
    for (auto method = methods.begin(); method != methods.end(); ++method) {
        const std::string expected = carriedOut.contains(method.key()) ? ""
                                     : findsNothing.contains(method.key())
                                         ? "org.freedesktop.UDisks.Error.Failed"
                                         : "org.freedesktop.UDisks.Error.NotSupported";
        const std::string name = method.key().toStdString();
        EXPECT_EQ(errorOf(callDaemon(name, argumentsFor(*method))), expected) << name;
    }
}

TEST_F(UDisksServiceTest, SaysThatNoMethodOfADeviceIsSupported)
{
    const QHash<QString, QString>& methods = InterfaceDescription::device().methods();
    for (auto method = methods.begin(); method != methods.end(); ++method) {
        const QDBusMessage reply =
            call("/org/freedesktop/UDisks/devices/sda1", "org.freedesktop.UDisks.Device",
                 method.key().toStdString(), argumentsFor(*method));
        EXPECT_EQ(errorOf(reply), "org.freedesktop.UDisks.Error.NotSupported") << method.key().toStdString();
    }
}

TEST_F(UDisksServiceTest, RefusesCallsThatMakeNoSense)
{
    const std::string daemon = "/org/freedesktop/UDisks";
    const std::string device = daemon + "/devices/sda1";
    const std::string properties = "org.freedesktop.DBus.Properties";
    const QString deviceInterface = QStringLiteral("org.freedesktop.UDisks.Device");
    const QString idType = QStringLiteral("IdType");
    const struct
    {
        std::string path;
        std::string interface;
        std::string method;
        QVariantList arguments;
        std::string error;
    } table[] = {
        {daemon, "org.freedesktop.UDisks", "Nonsense", {}, "UnknownMethod"},
        {daemon, "org.freedesktop.Other", "EnumerateDevices", {}, "UnknownInterface"},
        {daemon, "org.freedesktop.UDisks", "EnumerateDevices", {1}, "InvalidArgs"},
        {daemon, "org.freedesktop.UDisks", "FindDeviceByMajorMinor", {8, 1}, "InvalidArgs"},
        {daemon + "/devices/sdz", properties, "Get", {deviceInterface, idType}, "UnknownObject"},
        {daemon + "/devices", "org.freedesktop.UDisks", "EnumerateDevices", {}, "UnknownInterface"},
        {device, properties, "Get", {deviceInterface, QStringLiteral("Nonsense")}, "UnknownProperty"},
        {device, properties, "Get", {QStringLiteral("org.freedesktop.UDisks"), idType}, "UnknownInterface"},
        {device, properties, "Get", {deviceInterface}, "InvalidArgs"},
        {device, properties, "Get", {}, "InvalidArgs"},
        {device, properties, "Getss", {}, "UnknownMethod"},
        {device,
         properties,
         "Set",
         {deviceInterface, idType, QVariant::fromValue(QDBusVariant(1))},
         "PropertyReadOnly"},
    };
    for (const auto& row : table) {
        EXPECT_EQ(errorOf(call(row.path, row.interface, row.method, row.arguments)),
                  "org.freedesktop.DBus.Error." + row.error)
            << row.path << " " << row.method;
    }
}

TEST_F(UDisksServiceTest, ShowsEveryPropertyInItsType)
{
    const QMap<QString, QString>& expected = InterfaceDescription::device().properties();
    const QVariantMap all = allProperties("sda1");
    EXPECT_EQ(all.keys(), expected.keys());
    for (auto property = all.begin(); property != all.end(); ++property) {
        EXPECT_EQ(signatureOf(*property), expected[property.key()].toStdString())
            << property.key().toStdString();
    }
}

TEST_F(UDisksServiceTest, HasThePropertiesOfTheDaemon)
{
    const QDBusMessage reply = call("/org/freedesktop/UDisks", "org.freedesktop.DBus.Properties", "GetAll",
                                    {QStringLiteral("org.freedesktop.UDisks")});
    EXPECT_EQ(qdbus_cast<QVariantMap>(reply.arguments().value(0)),
              QVariantMap({{QStringLiteral("DaemonIsInhibited"), false},
                           {QStringLiteral("DaemonVersion"), QStringLiteral("1.0.5")},
                           {QStringLiteral("SupportsLuksDevices"), false}}));
}

TEST_F(UDisksServiceTest, AnnouncesADeviceThatCanBeReadAndItsEnd)
{
    Signals signalLog;
    provider->plug("late");
    EXPECT_THAT(signalLog.atLeast(1), ElementsAre("DeviceAdded sdc1"));
    EXPECT_EQ(text("sdc1", "IdType").toStdString(), "vfat");
    provider->unplug("late");
    EXPECT_THAT(signalLog.atLeast(2), ElementsAre("DeviceAdded sdc1", "DeviceRemoved sdc1"));
    EXPECT_FALSE(property("sdc1", "IdType").isValid());
    EXPECT_THAT(enumerate(), ElementsAre("sdb1", "sda1", "md_5fd0"));
}

TEST_F(UDisksServiceTest, AnnouncesAChangeAtTheDaemonAndAtTheDevice)
{
    Signals signalLog;
    provider->set("sdb1", "IdLabel", "NEW%20NAME");
    EXPECT_THAT(signalLog.atLeast(2), ElementsAre("DeviceChanged sdb1", "Changed sdb1"));
    EXPECT_EQ(text("sdb1", "IdLabel").toStdString(), "NEW NAME");
}

TEST_F(UDisksServiceTest, ShowsAPropertyInAWrongTypeOrNotAtAll)
{
    provider->set("sda1", "DeviceMajor:u", "8");
    provider->set("sda1", "IdUuid:missing", "");
    EXPECT_EQ(property("sda1", "DeviceMajor").userType(), QMetaType::UInt);
    EXPECT_FALSE(property("sda1", "IdUuid").isValid());
    EXPECT_FALSE(allProperties("sda1").contains(QStringLiteral("IdUuid")));
}

TEST_F(UDisksServiceTest, CarriesLabelsByteForByte)
{
    provider->set("sda1", "IdLabel", "%20a/b%0A\\\"%C3%BC%20");
    EXPECT_EQ(text("sda1", "IdLabel").toStdString(), " a/b\n\\\"\xc3\xbc ");
}

TEST_F(UDisksServiceTest, IsIntrospectable)
{
    const auto introspected = [](const std::string& path) {
        return call(path, "org.freedesktop.DBus.Introspectable", "Introspect")
            .arguments()
            .value(0)
            .toString()
            .toStdString();
    };
    EXPECT_THAT(introspected("/org/freedesktop/UDisks"), HasSubstr("<node name=\"devices\"/>"));
    EXPECT_THAT(introspected("/org/freedesktop/UDisks"), HasSubstr("<signal name=\"DeviceAdded\">"));
    EXPECT_THAT(introspected("/org/freedesktop/UDisks/devices"), HasSubstr("<node name=\"md_5fd0\"/>"));
    EXPECT_THAT(introspected("/org/freedesktop/UDisks/devices/sda1"), HasSubstr("name=\"DeviceMountPaths\""));
}

TEST_F(UDisksServiceTest, GivesWayToTheProviderThatIsThere)
{
    const TemporaryDirectory directory;
    const std::string file = directory.path() + "/m.ini";
    std::ofstream(file) << "[sdx1]\n";
    const ProcessResult second = runProgram({MachineProvider::Program, "--machine", file});
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(
        second.output,
        "vrudisks: cannot acquire the bus name: another provider owns it, or the bus does not permit it\n");
    EXPECT_THAT(enumerate(), testing::Contains("sda1"));
}

TEST_F(UDisksServiceTest, EndsOnEachSignalWithStatusZero)
{
    for (const int signalNumber : {SIGTERM, SIGINT}) {
        provider.reset();
        provider = std::make_unique<MachineProvider>(Machine);
        provider->process().send(signalNumber);
        EXPECT_EQ(provider->process().waitForEnd(), 0);
    }
}

TEST_F(UDisksServiceTest, EndsWithTheBus)
{
    provider.reset();
    const std::string address = qgetenv("DBUS_SYSTEM_BUS_ADDRESS").toStdString();
    auto otherBus = std::make_unique<PrivateBus>();
    MachineProvider onOtherBus(Machine);
    otherBus.reset();
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
    EXPECT_EQ(onOtherBus.process().waitForEnd(), 1);
    EXPECT_THAT(onOtherBus.process().output(), HasSubstr("vrudisks: the system bus is gone\n"));
}
