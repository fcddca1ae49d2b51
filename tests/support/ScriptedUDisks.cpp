#include "tests/support/ScriptedUDisks.h"

#include <cstdlib>
#include <stdexcept>
#include <utility>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>

namespace {

const QString ConnectionName = QStringLiteral("scripted");

} // namespace

/// Everything below the daemon's path.
class ScriptedUDisks::Tree : public QDBusVirtualObject
{
public:
    Tree(QStringList nodes, Answer answer)
        : _nodes(std::move(nodes))
        , _answer(std::move(answer))
    {
    }

    QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& call, const QDBusConnection& connection) override
    {
        if (call.member() == QLatin1String("EnumerateDevices")) {
            return connection.send(call.createReply(QVariant::fromValue(paths())));
        }
        const QVariant value = _answer(call.arguments().value(1).toString());
        return connection.send(value.isValid() ? call.createReply(QVariant::fromValue(QDBusVariant(value)))
                                               : call.createErrorReply(QDBusError::InvalidArgs, QString()));
    }

private:
    QList<QDBusObjectPath> paths() const
    {
        QList<QDBusObjectPath> result;
        for (const QString& node : _nodes) {
            result.append(QDBusObjectPath(objectPath(node)));
        }
        return result;
    }

    const QStringList _nodes;
    const Answer _answer;
};

ScriptedUDisks::ScriptedUDisks(const QStringList& nodes, Answer answer)
    : _tree(std::make_unique<Tree>(nodes, std::move(answer)))
{
    qDBusRegisterMetaType<QList<QDBusObjectPath>>();
    QDBusConnection connection = QDBusConnection::connectToBus(
        QString::fromLocal8Bit(std::getenv("DBUS_SYSTEM_BUS_ADDRESS")), ConnectionName);
    // Registered here, it gets a child of this thread, which moves with it.
    connection.registerVirtualObject(QStringLiteral("/org/freedesktop/UDisks"), _tree.get(),
                                     QDBusConnection::SubPath);
    _tree->moveToThread(&_thread);
    _thread.start();
    if (!connection.registerService(QStringLiteral("org.freedesktop.UDisks"))) {
        throw std::runtime_error("no scripted UDisks: " + connection.lastError().message().toStdString());
    }
}

ScriptedUDisks::~ScriptedUDisks()
{
    QDBusConnection::disconnectFromBus(ConnectionName);
    _thread.quit();
    _thread.wait();
}

QString ScriptedUDisks::objectPath(const QString& node)
{
    return QStringLiteral("/org/freedesktop/UDisks/devices/") + node;
}
