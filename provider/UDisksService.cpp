#include "provider/UDisksService.h"

#include <functional>

#include <QDBusError>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QHash>

#include "provider/DeviceView.h"
#include "provider/InterfaceDescription.h"
#include "provider/ObjectPath.h"

namespace {

const QString PROPERTIES = QStringLiteral("org.freedesktop.DBus.Properties");
const QString NOT_SUPPORTED = QStringLiteral("org.freedesktop.UDisks.Error.NotSupported");
const QString FAILED = QStringLiteral("org.freedesktop.UDisks.Error.Failed");

/// The version of the interface that is served.
const QString DAEMON_VERSION = QStringLiteral("1.0.5");

using Devices = std::vector<const Device*>;
using Method = QDBusMessage (*)(const QDBusMessage& call, const Devices& devices);

QVariant path(const Device& device)
{
    return QVariant::fromValue(QDBusObjectPath(device.objectPath));
}

QDBusMessage noObjects(const QDBusMessage& call, const Devices& /*devices*/)
{
    return call.createReply(QVariant::fromValue(QList<QDBusObjectPath>()));
}

QDBusMessage enumerateDevices(const QDBusMessage& call, const Devices& devices)
{
    QList<QDBusObjectPath> paths;
    for (const Device* device : devices) {
        paths += QDBusObjectPath(device->objectPath);
    }
    return call.createReply(QVariant::fromValue(paths));
}

QDBusMessage enumerateDeviceFiles(const QDBusMessage& call, const Devices& devices)
{
    QStringList files;
    for (const Device* device : devices) {
        files += DeviceView::files(*device);
    }
    return call.createReply(files);
}

QDBusMessage firstThat(const QDBusMessage& call, const Devices& devices,
                       const std::function<bool(const Device&)>& matches)
{
    for (const Device* device : devices) {
        if (matches(*device)) {
            return call.createReply(path(*device));
        }
    }
    return call.createErrorReply(FAILED, QStringLiteral("No such device"));
}

QDBusMessage findByFile(const QDBusMessage& call, const Devices& devices)
{
    const QString file = call.arguments().at(0).toString();
    return firstThat(call, devices, [&](const Device& device) { return DeviceView::goesBy(device, file); });
}

QDBusMessage findByNumber(const QDBusMessage& call, const Devices& devices)
{
    const qlonglong majorNumber = call.arguments().at(0).toLongLong();
    const qlonglong minorNumber = call.arguments().at(1).toLongLong();
    return firstThat(call, devices, [&](const Device& device) {
        return DeviceView::hasNumber(device, majorNumber, minorNumber);
    });
}

/// What the provider carries out of the daemon's methods.
const QHash<QString, Method>& daemonMethods()
{
    static const QHash<QString, Method> methods{
        {QStringLiteral("EnumerateAdapters"), &noObjects},
        {QStringLiteral("EnumerateExpanders"), &noObjects},
        {QStringLiteral("EnumeratePorts"), &noObjects},
        {QStringLiteral("EnumerateDevices"), &enumerateDevices},
        {QStringLiteral("EnumerateDeviceFiles"), &enumerateDeviceFiles},
        {QStringLiteral("FindDeviceByDeviceFile"), &findByFile},
        {QStringLiteral("FindDeviceByMajorMinor"), &findByNumber},
    };
    return methods;
}

QVariantMap daemonProperties()
{
    return {
        {QStringLiteral("DaemonIsInhibited"), false},
        {QStringLiteral("DaemonVersion"), DAEMON_VERSION},
        {QStringLiteral("SupportsLuksDevices"), false},
    };
}

/// The error for a call that `interface` does not have, or that comes with other arguments than it takes.
std::optional<QDBusMessage> objection(const QDBusMessage& call, const InterfaceDescription& interface)
{
    const bool isMeant = call.interface().isEmpty() || call.interface() == interface.name();
    const auto method = interface.methods().constFind(call.member());
    if (!isMeant || method == interface.methods().constEnd()) {
        return call.createErrorReply(QDBusError::UnknownMethod, QStringLiteral("No such method"));
    }
    if (call.signature() != *method) {
        return call.createErrorReply(QDBusError::InvalidArgs, QStringLiteral("Takes (%1)").arg(*method));
    }
    return std::nullopt;
}

QDBusMessage notSupported(const QDBusMessage& call)
{
    return call.createErrorReply(NOT_SUPPORTED,
                                 QStringLiteral("%1 is not carried out by this provider").arg(call.member()));
}

// In what follows no device stands for the daemon object.

QVariantMap allProperties(const Device* device)
{
    return device != nullptr ? DeviceView::allProperties(*device) : daemonProperties();
}

std::optional<QVariant> shownProperty(const Device* device, const QString& name)
{
    if (device != nullptr) {
        return DeviceView::property(*device, name);
    }
    const QVariantMap all = daemonProperties();
    return all.contains(name) ? std::optional<QVariant>(all[name]) : std::nullopt;
}

QDBusMessage answerGet(const QDBusMessage& call, const Device* device)
{
    const QString name = call.arguments().at(1).toString();
    const std::optional<QVariant> value = shownProperty(device, name);
    return value ? call.createReply(QVariant::fromValue(QDBusVariant(*value)))
                 : call.createErrorReply(QDBusError::UnknownProperty,
                                         QStringLiteral("No property %1").arg(name));
}

QDBusMessage answerProperties(const QDBusMessage& call, const Device* device)
{
    const InterfaceDescription& interface =
        device != nullptr ? InterfaceDescription::device() : InterfaceDescription::daemon();
    const QString asked = call.arguments().value(0).toString();
    const QString method = call.member() + call.signature();
    if (!asked.isEmpty() && asked != interface.name()) {
        return call.createErrorReply(QDBusError::UnknownInterface, QStringLiteral("No such interface"));
    }
    if (method == QLatin1String("Getss")) {
        return answerGet(call, device);
    }
    if (method == QLatin1String("GetAlls")) {
        return call.createReply(allProperties(device));
    }
    if (method == QLatin1String("Setssv")) {
        return call.createErrorReply(QDBusError::PropertyReadOnly,
                                     QStringLiteral("Every property is read-only"));
    }
    return call.createErrorReply(QDBusError::UnknownMethod, QStringLiteral("No such method"));
}

} // namespace

UDisksService::UDisksService(DeviceSource& source, const QDBusConnection& bus)
    : _source(source)
    , _bus(bus)
{
    connect(&source, &DeviceSource::added, this, [this](const QString& path) { tell("DeviceAdded", path); });
    connect(&source, &DeviceSource::removed, this,
            [this](const QString& path) { tell("DeviceRemoved", path); });
    connect(&source, &DeviceSource::changed, this, [this](const QString& path) {
        tell("DeviceChanged", path);
        _bus.send(QDBusMessage::createSignal(path, InterfaceDescription::device().name(),
                                             QStringLiteral("Changed")));
    });
    _bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                 QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                 SIGNAL(busLost()));
    _bus.registerVirtualObject(ObjectPath::DAEMON, this, QDBusConnection::SubPath);
}

bool UDisksService::takeName()
{
    return _bus.registerService(ObjectPath::SERVICE);
}

QString UDisksService::introspect(const QString& path) const
{
    if (path == ObjectPath::DAEMON) {
        return InterfaceDescription::daemon().xml() + QStringLiteral("<node name=\"devices\"/>");
    }
    if (path != ObjectPath::DEVICES) {
        return _source.find(path) != nullptr ? InterfaceDescription::device().xml() : QString();
    }
    QString nodes;
    for (const Device* device : _source.devices()) {
        nodes += QStringLiteral("<node name=\"%1\"/>").arg(device->objectPath.section(QLatin1Char('/'), -1));
    }
    return nodes;
}

bool UDisksService::handleMessage(const QDBusMessage& call, const QDBusConnection& bus)
{
    if (call.interface() == QLatin1String("org.freedesktop.DBus.Introspectable")) {
        return false;
    }
    bus.send(answer(call));
    return true;
}

QDBusMessage UDisksService::answer(const QDBusMessage& call) const
{
    const bool isDaemon = call.path() == ObjectPath::DAEMON;
    const Device* device = isDaemon ? nullptr : _source.find(call.path());
    if (!isDaemon && device == nullptr) {
        return call.createErrorReply(QDBusError::UnknownObject, QStringLiteral("No such device"));
    }
    if (call.interface() == PROPERTIES) {
        return answerProperties(call, device);
    }
    if (isDaemon) {
        return answerDaemon(call);
    }
    return objection(call, InterfaceDescription::device()).value_or(notSupported(call));
}

QDBusMessage UDisksService::answerDaemon(const QDBusMessage& call) const
{
    const std::optional<QDBusMessage> refusal = objection(call, InterfaceDescription::daemon());
    if (refusal) {
        return *refusal;
    }
    const Method method = daemonMethods().value(call.member());
    return method != nullptr ? method(call, _source.devices()) : notSupported(call);
}

void UDisksService::tell(const char* signalName, const QString& objectPath)
{
    QDBusMessage signal = QDBusMessage::createSignal(
        ObjectPath::DAEMON, InterfaceDescription::daemon().name(), QString::fromLatin1(signalName));
    signal << QVariant::fromValue(QDBusObjectPath(objectPath));
    _bus.send(signal);
}
