#include "map/Devices.h"

#include <algorithm>
#include <stdexcept>

#include <QDBusConnection>
#include <QDBusPendingReply>
#include <QDBusReply>
#include <QHash>

#include "QDBusUDisksProxy.h"
#include "interfaces/ScsiDisks.h"
#include "interfaces/UDisks.h"

namespace {

constexpr int ReadTimeout = 4000; // milliseconds

/// The properties of one device.
class Properties
{
public:
    explicit Properties(QVariantMap values = {})
        : _values(std::move(values))
    {
    }

    bool isEmpty() const { return _values.isEmpty(); }
    QString text(const char* name) const { return value(name, QMetaType::QString).toString(); }
    bool flag(const char* name) const { return value(name, QMetaType::Bool).toBool(); }
    int number(const char* name) const { return value(name, QMetaType::Int).toInt(); }
    qint64 longNumber(const char* name) const { return value(name, QMetaType::LongLong).toLongLong(); }
    QString path(const char* name) const
    {
        return _values.value(QLatin1String(name)).value<QDBusObjectPath>().path();
    }

private:
    QVariant value(const char* name, QMetaType::Type type) const
    {
        const QVariant found = _values.value(QLatin1String(name));
        return found.userType() == type ? found : QVariant();
    }

    QVariantMap _values;
};

/// One question for all properties: each of them would take as long.
Properties propertiesOf(const QString& device)
{
    QDBusMessage question = QDBusMessage::createMethodCall(UDisks::service(), device,
                                                           QStringLiteral("org.freedesktop.DBus.Properties"),
                                                           QStringLiteral("GetAll"));
    question << QStringLiteral("org.freedesktop.UDisks.Device");
    const QDBusReply<QVariantMap> reply =
        QDBusConnection::systemBus().call(question, QDBus::Block, ReadTimeout);
    return Properties(reply.isValid() ? reply.value() : QVariantMap());
}

QList<QDBusObjectPath> enumerate()
{
    QDBusUDisksProxy udisks(UDisks::service(), UDisks::path(), QDBusConnection::systemBus());
    QDBusPendingReply<QList<QDBusObjectPath>> reply = udisks.EnumerateDevices();
    reply.waitForFinished();
    if (reply.isError()) {
        throw std::runtime_error("the UDisks service does not answer: " +
                                 reply.error().message().toStdString());
    }
    return reply.value();
}

Volume volumeOf(const Properties& device)
{
    Volume volume;
    volume.node = device.text("DeviceFile");
    volume.label = device.text("IdLabel");
    volume.type = device.text("IdType");
    volume.uuid = device.text("IdUuid");
    volume.isInternal = device.flag("DeviceIsSystemInternal");
    volume.isArranged = device.longNumber("DeviceMajor") == ScsiDisks::FirstMajor;
    volume.isFileSystem = device.text("IdUsage") == QLatin1String("filesystem");
    volume.number = device.number("PartitionNumber");
    return volume;
}

} // namespace

std::vector<Volume> readVolumes()
{
    QHash<QString, QString> nodes;
    std::vector<Volume> result;
    for (const QDBusObjectPath& path : enumerate()) {
        const Properties device = propertiesOf(path.path());
        nodes.insert(path.path(), device.text("DeviceFile"));
        if (device.flag("DeviceIsPartition")) {
            result.push_back(volumeOf(device));
            result.back().disk = device.path("PartitionSlave");
        }
    }
    for (Volume& volume : result) {
        volume.disk = nodes.value(volume.disk);
    }
    return result;
}
