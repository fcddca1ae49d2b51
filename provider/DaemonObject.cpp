#include "provider/DaemonObject.h"

#include <functional>

#include <QDBusObjectPath>
#include <QHash>

#include "provider/DeviceSource.h"
#include "provider/NotSupported.h"

namespace {

using Devices = std::vector<const Device*>;
using Method = BusReply (*)(const BusCall& call, const Devices& devices);

BusReply noObjects(const BusCall& /*call*/, const Devices& /*devices*/)
{
    return BusReply::of(QVariant::fromValue(QList<QDBusObjectPath>()));
}

BusReply enumerateDevices(const BusCall& /*call*/, const Devices& devices)
{
    QList<QDBusObjectPath> paths;
    for (const Device* device : devices) {
        paths += QDBusObjectPath(device->objectPath);
    }
    return BusReply::of(QVariant::fromValue(paths));
}

BusReply enumerateDeviceFiles(const BusCall& /*call*/, const Devices& devices)
{
    QStringList files;
    for (const Device* device : devices) {
        files += device->files();
    }
    return BusReply::of(files);
}

BusReply firstThat(const Devices& devices, const std::function<bool(const Device&)>& matches)
{
    for (const Device* device : devices) {
        if (matches(*device)) {
            return BusReply::of(QVariant::fromValue(QDBusObjectPath(device->objectPath)));
        }
    }
    return BusReply::refusal(QStringLiteral("org.freedesktop.UDisks.Error.Failed"),
                             QStringLiteral("No such device"));
}

BusReply findByFile(const BusCall& call, const Devices& devices)
{
    const QString file = call.text(0);
    return firstThat(devices, [&](const Device& device) { return device.hasFile(file); });
}

BusReply findByNumber(const BusCall& call, const Devices& devices)
{
    return firstThat(devices,
                     [&](const Device& device) { return device.hasNumber(call.number(0), call.number(1)); });
}

/// The methods of the daemon that the provider carries out.
const QHash<QString, Method>& methods()
{
    static const QHash<QString, Method> all{
        {QStringLiteral("EnumerateAdapters"), &noObjects},
        {QStringLiteral("EnumerateExpanders"), &noObjects},
        {QStringLiteral("EnumeratePorts"), &noObjects},
        {QStringLiteral("EnumerateDevices"), &enumerateDevices},
        {QStringLiteral("EnumerateDeviceFiles"), &enumerateDeviceFiles},
        {QStringLiteral("FindDeviceByDeviceFile"), &findByFile},
        {QStringLiteral("FindDeviceByMajorMinor"), &findByNumber},
    };
    return all;
}

} // namespace

DaemonObject::DaemonObject(const DeviceSource& source)
    : _source(source)
{
}

const InterfaceDescription& DaemonObject::interface() const
{
    return InterfaceDescription::daemon();
}

BusReply DaemonObject::carryOut(const BusCall& call) const
{
    const Method method = methods().value(call.member);
    return method != nullptr ? method(call, _source.devices()) : notSupported(call);
}

std::optional<QVariant> DaemonObject::property(const QString& name) const
{
    const QVariantMap all = allProperties();
    return all.contains(name) ? std::optional<QVariant>(all[name]) : std::nullopt;
}

QVariantMap DaemonObject::allProperties() const
{
    return {
        {QStringLiteral("DaemonIsInhibited"), false},
        // The version of the interface that is served.
        {QStringLiteral("DaemonVersion"), QStringLiteral("1.0.5")},
        {QStringLiteral("SupportsLuksDevices"), false},
    };
}

QStringList DaemonObject::children() const
{
    return {QStringLiteral("devices")};
}
