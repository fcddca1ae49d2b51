#pragma once

#include <optional>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include "provider/DeviceSource.h"

class InterfaceDescription;

/// Shows the devices of a source as UDisks 1: the daemon object and one object a device.
///
/// One object serves every path, straight from the introspection files that the service's proxies are
/// generated from. Adaptors generated from the same files could not serve what the tests need, a property
/// that is missing or has a wrong type, and would want a hand-written answer for each of the fifty methods
/// that are not carried out. Those are answered with the error org.freedesktop.UDisks.Error.NotSupported.
class UDisksService : public QDBusVirtualObject
{
    Q_OBJECT

public:
    UDisksService(DeviceSource& source, const QDBusConnection& bus);

    /// Takes the bus name; whether it is this process's now. Clients read the devices from here on.
    bool takeName();

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& call, const QDBusConnection& bus) override;

Q_SIGNALS:
    /// The connection to the bus has ended; nothing can be served any more.
    void busLost();

private:
    QDBusMessage answer(const QDBusMessage& call) const;
    QDBusMessage answerDaemon(const QDBusMessage& call) const;
    void tell(const char* signalName, const QString& objectPath);

    DeviceSource& _source;
    QDBusConnection _bus;
};
