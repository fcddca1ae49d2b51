#include "tests/bench/AdditionClock.h"

#include <stdexcept>

#include <QDBusConnection>

#include "tests/support/WaitFor.h"

AdditionClock::AdditionClock()
{
    QDBusConnection::systemBus().connect(QStringLiteral("org.freedesktop.UDisks"),
                                         QStringLiteral("/org/freedesktop/UDisks"),
                                         QStringLiteral("org.freedesktop.UDisks"),
                                         QStringLiteral("DeviceAdded"), this, SLOT(note(QDBusObjectPath)));
    moveToThread(&_thread);
    _thread.start();
}

AdditionClock::~AdditionClock()
{
    _thread.quit();
    _thread.wait();
}

Figures::Clock::time_point AdditionClock::arrival() const
{
    if (!waitFor([this] { return _arrival != 0; })) {
        throw std::runtime_error("no DeviceAdded arrives");
    }
    return Figures::Clock::time_point(Figures::Clock::duration(_arrival));
}

void AdditionClock::note(const QDBusObjectPath& /*device*/)
{
    _arrival = Figures::Clock::now().time_since_epoch().count();
}
