#include "tests/bench/RoundTrip.h"

#include <stdexcept>

#include <QDBusConnection>
#include <QDBusMessage>

#include "tests/bench/Figures.h"

double bareRoundTrip(const std::string& node, const std::string& property)
{
    constexpr std::size_t Questions = 1000;
    QDBusMessage question = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.UDisks"),
        QStringLiteral("/org/freedesktop/UDisks/devices/") + QString::fromStdString(node),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    question << QStringLiteral("org.freedesktop.UDisks.Device") << QString::fromStdString(property);
    Figures::Sample times;
    while (times.size() < Questions) {
        const auto start = Figures::Clock::now();
        const QDBusMessage answer = QDBusConnection::systemBus().call(question);
        times.add(Figures::milliseconds(Figures::Clock::now() - start));
        if (answer.type() != QDBusMessage::ReplyMessage) {
            throw std::runtime_error("UDisks answers: " + answer.errorMessage().toStdString());
        }
    }
    return times.median();
}
