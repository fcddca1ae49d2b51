#include "tests/provider/UDisksClient.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusVariant>

#include "tests/support/WaitFor.h"

namespace UDisksClient {
namespace {

const std::string DaemonPath = "/org/freedesktop/UDisks";
const std::string DaemonInterface = "org.freedesktop.UDisks";
const std::string DeviceInterface = "org.freedesktop.UDisks.Device";
const std::string PropertiesInterface = "org.freedesktop.DBus.Properties";

QString qt(const std::string& text)
{
    return QString::fromStdString(text);
}

std::string nameOf(const QString& objectPath)
{
    return objectPath.section(QLatin1Char('/'), -1).toStdString();
}

std::string pathOf(const std::string& device)
{
    return DaemonPath + "/devices/" + device;
}

} // namespace

QDBusMessage call(const std::string& path, const std::string& interface, const std::string& method,
                  const QVariantList& arguments)
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(qt(DaemonInterface), qt(path), qt(interface), qt(method));
    message.setArguments(arguments);
    return QDBusConnection::systemBus().call(message);
}

QDBusMessage callDaemon(const std::string& method, const QVariantList& arguments)
{
    return call(DaemonPath, DaemonInterface, method, arguments);
}

QVariant property(const std::string& device, const std::string& name)
{
    const QDBusMessage reply =
        call(pathOf(device), PropertiesInterface, "Get", {qt(DeviceInterface), qt(name)});
    return reply.arguments().value(0).value<QDBusVariant>().variant();
}

QString text(const std::string& device, const std::string& name)
{
    return property(device, name).toString();
}

QVariantMap allProperties(const std::string& device)
{
    const QDBusMessage reply = call(pathOf(device), PropertiesInterface, "GetAll", {qt(DeviceInterface)});
    return qdbus_cast<QVariantMap>(reply.arguments().value(0));
}

std::vector<std::string> enumerate()
{
    std::vector<std::string> result;
    const QDBusMessage reply = callDaemon("EnumerateDevices");
    for (const QDBusObjectPath& path : qdbus_cast<QList<QDBusObjectPath>>(reply.arguments().value(0))) {
        result.push_back(nameOf(path.path()));
    }
    return result;
}

std::string errorOf(const QDBusMessage& reply)
{
    return reply.errorName().toStdString();
}

std::string deviceIn(const QDBusMessage& reply)
{
    return nameOf(reply.arguments().value(0).value<QDBusObjectPath>().path());
}

Signals::Signals()
{
    QDBusConnection bus = QDBusConnection::systemBus();
    for (const char* name : {"DeviceAdded", "DeviceChanged", "DeviceRemoved"}) {
        bus.connect(qt(DaemonInterface), qt(DaemonPath), qt(DaemonInterface), QString::fromLatin1(name), this,
                    SLOT(daemonSignal(QDBusMessage)));
    }
    bus.connect(qt(DaemonInterface), QString(), qt(DeviceInterface), QStringLiteral("Changed"), this,
                SLOT(deviceSignal(QDBusMessage)));
}

const std::vector<std::string>& Signals::atLeast(size_t count)
{
    waitFor([&] { return _seen.size() >= count; });
    return _seen;
}

void Signals::daemonSignal(const QDBusMessage& signal)
{
    _seen.push_back(signal.member().toStdString() + " " + deviceIn(signal));
}

void Signals::deviceSignal(const QDBusMessage& signal)
{
    _seen.push_back(signal.member().toStdString() + " " + nameOf(signal.path()));
}

} // namespace UDisksClient
