#include "provider/UDisksService.h"

#include <QDBusMessage>
#include <QDBusObjectPath>

#include "interfaces/InterfaceDescription.h"
#include "interfaces/UDisks.h"

UDisksService::UDisksService(DeviceSource& source, const QDBusConnection& bus)
    : _tree(source, _mounts)
    , _bus(bus)
{
    connect(&source, &DeviceSource::added, this,
            [this](const QString& path) { announce("DeviceAdded", path); });
    connect(&source, &DeviceSource::removed, this,
            [this](const QString& path) { announce("DeviceRemoved", path); });
    connect(&source, &DeviceSource::changed, this, [this](const QString& path) {
        announce("DeviceChanged", path);
        _bus.send(QDBusMessage::createSignal(path, InterfaceDescription::device().name(),
                                             QStringLiteral("Changed")));
    });
    _bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                 QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                 SIGNAL(busLost()));
    _bus.registerVirtualObject(UDisks::path(), this, QDBusConnection::SubPath);
}

bool UDisksService::takeName()
{
    return _bus.registerService(UDisks::service());
}

BusReply UDisksService::answer(const BusCall& call)
{
    return _tree.answer(call);
}

void UDisksService::announce(const char* signalName, const QString& objectPath)
{
    QDBusMessage signal = QDBusMessage::createSignal(UDisks::path(), InterfaceDescription::daemon().name(),
                                                     QString::fromLatin1(signalName));
    signal << QVariant::fromValue(QDBusObjectPath(objectPath));
    _bus.send(signal);
}
