#include "tests/provider/FakeUDisks2.h"

#include <stdexcept>

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>

namespace {

const QString CONNECTION = QStringLiteral("fake-udisks2");
const QString OBJECT_MANAGER = QStringLiteral("org.freedesktop.DBus.ObjectManager");

QDBusConnection connected()
{
    qDBusRegisterMetaType<UDisks2Interfaces>();
    qDBusRegisterMetaType<UDisks2Objects>();
    qDBusRegisterMetaType<QList<QByteArray>>();
    return QDBusConnection::connectToBus(QString::fromLocal8Bit(qgetenv("DBUS_SYSTEM_BUS_ADDRESS")),
                                         CONNECTION);
}

QDBusMessage managerSignal(const char* name)
{
    return QDBusMessage::createSignal(UDisks2::ROOT, OBJECT_MANAGER, QString::fromLatin1(name));
}

} // namespace

FakeUDisks2::FakeUDisks2(const UDisks2Objects& objects)
    : _bus(connected())
    , _objects(objects)
{
    if (!_bus.registerVirtualObject(UDisks2::ROOT, this, QDBusConnection::SubPath) ||
        !_bus.registerService(UDisks2::SERVICE)) {
        throw std::runtime_error("no fake UDisks2: " + _bus.lastError().message().toStdString());
    }
}

FakeUDisks2::~FakeUDisks2()
{
    QDBusConnection::disconnectFromBus(CONNECTION);
}

void FakeUDisks2::add(const UDisks2Objects& objects)
{
    // Drives come before what is on them.
    for (const bool isDrive : {true, false}) {
        for (auto object = objects.begin(); object != objects.end(); ++object) {
            if (object->contains(UDisks2::DRIVE) == isDrive) {
                add(object.key(), *object);
            }
        }
    }
}

void FakeUDisks2::add(const QDBusObjectPath& path, const UDisks2Interfaces& interfaces)
{
    _objects[path].insert(interfaces);
    _bus.send(managerSignal("InterfacesAdded")
              << QVariant::fromValue(path) << QVariant::fromValue(interfaces));
}

void FakeUDisks2::remove(const QDBusObjectPath& path)
{
    const QStringList interfaces = _objects.take(path).keys();
    _bus.send(managerSignal("InterfacesRemoved") << QVariant::fromValue(path) << interfaces);
}

void FakeUDisks2::removeInterface(const QDBusObjectPath& path, const QString& interface)
{
    _objects[path].remove(interface);
    _bus.send(managerSignal("InterfacesRemoved") << QVariant::fromValue(path) << QStringList(interface));
}

void FakeUDisks2::change(const QDBusObjectPath& path, const QString& interface, const QVariantMap& properties)
{
    _objects[path][interface].insert(properties);
    QDBusMessage signal = QDBusMessage::createSignal(
        path.path(), QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("PropertiesChanged"));
    _bus.send(signal << interface << properties << QStringList());
}

QString FakeUDisks2::introspect(const QString& /*path*/) const
{
    return {};
}

bool FakeUDisks2::handleMessage(const QDBusMessage& call, const QDBusConnection& bus)
{
    if (call.interface() != OBJECT_MANAGER) {
        return false;
    }
    ++_enumerations;
    if (_mood == Mood::Helpful) {
        bus.send(call.createReply(QVariant::fromValue(_objects)));
    } else if (_mood == Mood::Overloaded) {
        bus.send(call.createErrorReply(QDBusError::NoReply, QStringLiteral("too late")));
    }
    return true;
}
