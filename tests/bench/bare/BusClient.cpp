// Connects to the system bus, asks UDisks for its devices and ends: what any program of this framework spends
// before it has done anything for a device.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QDBusMessage question = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.UDisks"), QStringLiteral("/org/freedesktop/UDisks"),
        QStringLiteral("org.freedesktop.UDisks"), QStringLiteral("EnumerateDevices"));
    const QDBusMessage reply = QDBusConnection::systemBus().call(question);
    return reply.type() == QDBusMessage::ReplyMessage ? 0 : 1;
}
