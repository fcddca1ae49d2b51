#pragma once

#include <string>
#include <vector>

#include <QDBusMessage>
#include <QObject>
#include <QVariant>

/// A client of UDisks 1 on the system bus, without the generated proxies: it sees errors and exact
/// types.
namespace UDisksClient {

QDBusMessage call(const std::string& path, const std::string& interface, const std::string& method,
                  const QVariantList& arguments = {});
QDBusMessage callDaemon(const std::string& method, const QVariantList& arguments = {});

/// The last element of a device's object path stands for the device.
QVariant property(const std::string& device, const std::string& name);
QString text(const std::string& device, const std::string& name);
QVariantMap allProperties(const std::string& device);

std::vector<std::string> enumerate();
/// The error's name, or an empty text.
std::string errorOf(const QDBusMessage& reply);
/// The device that a reply names.
std::string deviceIn(const QDBusMessage& reply);

/// The signals of the daemon and of its devices since this object was made, as "DeviceAdded sda1".
class Signals : public QObject
{
    Q_OBJECT

public:
    Signals();

    /// Waits until as many have come, or a bound has passed.
    const std::vector<std::string>& atLeast(size_t count);

private Q_SLOTS:
    void daemonSignal(const QDBusMessage& signal);
    void deviceSignal(const QDBusMessage& signal);

private:
    std::vector<std::string> _seen;
};

} // namespace UDisksClient
