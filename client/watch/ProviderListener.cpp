#include "client/watch/ProviderListener.h"

#include <QDBusConnection>

#include "client/watch/BusWatch.h"
#include "interfaces/UDisks.h"

ProviderListener::ProviderListener(std::function<void(char what)> hear)
    : _hear(std::move(hear))
{
    QDBusConnection bus =
        QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("vrmountctl-watch"));
    const auto listen = [&](const char* signal, const char* slot) {
        return bus.connect(UDisks::service(), UDisks::path(), UDisks::service(), QString::fromLatin1(signal),
                           this, slot);
    };
    _isConnected = listen("DeviceAdded", SLOT(_slot_arrival())) &&
                   listen("DeviceRemoved", SLOT(_slot_arrival())) &&
                   listen("DeviceChanged", SLOT(_slot_change()));
    auto* owner =
        new QDBusServiceWatcher(UDisks::service(), bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(owner, &QDBusServiceWatcher::serviceOwnerChanged, this, &ProviderListener::_slot_arrival);
}

void ProviderListener::_slot_arrival()
{
    _hear(BusWatch::Arrival);
}

void ProviderListener::_slot_change()
{
    _hear(BusWatch::Change);
}
