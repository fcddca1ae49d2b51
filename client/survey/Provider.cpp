#include "client/survey/Provider.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingReply>
#include <QDataStream>
#include <QHash>

#include "interfaces/UDisks.h"

namespace Provider {
namespace {

/// More are a mistake, or malice.
constexpr int MostDevices = 1024;

const char* const Disk = "PartitionSlave";

/// The properties that are passed on; the disk as its node.
constexpr std::array<const char*, 11> Passed{
    "DeviceFile",         "IdUsage",       "IdType",     "IdLabel",           "IdUuid",
    "DeviceMajor",        "PartitionType", "DeviceSize", "DeviceIsPartition", "DeviceIsSystemInternal",
    "DeviceDetectionTime"};

QDBusPendingCall call(const QDBusConnection& bus, const QString& path, const QString& interface,
                      const QString& method, const QVariantList& arguments = {})
{
    QDBusMessage message = QDBusMessage::createMethodCall(UDisks::service(), path, interface, method);
    message.setAutoStartService(false);
    message.setArguments(arguments);
    return bus.asyncCall(message);
}

QList<QDBusObjectPath> enumerate(const QDBusConnection& bus)
{
    QDBusPendingReply<QList<QDBusObjectPath>> reply =
        call(bus, UDisks::path(), UDisks::service(), QStringLiteral("EnumerateDevices"));
    reply.waitForFinished();
    if (reply.isError()) {
        throw std::runtime_error("no provider");
    }
    return reply.value().mid(0, MostDevices);
}

/// All are asked before the first answer is waited for.
QHash<QString, QVariantMap> propertiesOf(const QDBusConnection& bus, const QList<QDBusObjectPath>& devices)
{
    QList<QDBusPendingReply<QVariantMap>> replies;
    for (const QDBusObjectPath& device : devices) {
        replies += call(bus, device.path(), QStringLiteral("org.freedesktop.DBus.Properties"),
                        QStringLiteral("GetAll"), {UDisks::service() + QStringLiteral(".Device")});
    }
    QHash<QString, QVariantMap> result;
    for (int at = 0; at < devices.size(); ++at) {
        replies[at].waitForFinished();
        result.insert(devices[at].path(), replies[at].value());
    }
    return result;
}

QVariant valueOf(const QVariantMap& properties, const char* name)
{
    return properties.value(QString::fromLatin1(name));
}

QVariantMap passedOn(const QVariantMap& properties, const QHash<QString, QVariantMap>& devices)
{
    QVariantMap result;
    for (const char* name : Passed) {
        result.insert(QString::fromLatin1(name), valueOf(properties, name));
    }
    const QString disk = valueOf(properties, Disk).value<QDBusObjectPath>().path();
    result.insert(QString::fromLatin1(Disk), valueOf(devices.value(disk), "DeviceFile"));
    return result;
}

PresentedDevice deviceOf(const QVariantMap& properties)
{
    const auto value = [&](const char* name) { return valueOf(properties, name); };
    const auto text = [&](const char* name) { return value(name).toString().toStdString(); };
    return {text("DeviceFile"),
            text(Disk),
            text("IdUsage"),
            text("IdType"),
            text("IdLabel"),
            text("IdUuid"),
            text("PartitionType"),
            value("DeviceMajor").toLongLong(),
            value("DeviceSize").toULongLong(),
            value("DeviceDetectionTime").toLongLong(),
            value("DeviceIsPartition").toBool(),
            value("DeviceIsSystemInternal").toBool()};
}

} // namespace

std::string ask()
{
    int count = 0;
    const QCoreApplication application(count, nullptr);
    const QDBusConnection bus =
        QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("vrmountctl"));
    const QList<QDBusObjectPath> paths = enumerate(bus);
    const QHash<QString, QVariantMap> devices = propertiesOf(bus, paths);
    QList<QVariantMap> answer;
    for (const QDBusObjectPath& path : paths) {
        answer += passedOn(devices.value(path.path()), devices);
    }
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << answer;
    return bytes.toStdString();
}

std::vector<PresentedDevice> read(const std::string& answer)
{
    const QByteArray bytes = QByteArray::fromStdString(answer);
    QList<QVariantMap> devices;
    QDataStream stream(bytes);
    stream >> devices;
    std::vector<PresentedDevice> result;
    std::transform(devices.begin(), devices.end(), std::back_inserter(result), &deviceOf);
    return result;
}

} // namespace Provider
