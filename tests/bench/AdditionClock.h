#pragma once

#include <atomic>

#include <QDBusObjectPath>
#include <QObject>
#include <QThread>

#include "tests/bench/Figures.h"

/// Notes when UDisks' DeviceAdded arrives, on a thread of its own: about when the service receives it too.
class AdditionClock : public QObject
{
    Q_OBJECT

public:
    AdditionClock();
    ~AdditionClock() override;

    void forget() { _arrival = 0; }
    /// When the signal arrived after the last `forget`; waits for it. Throws std::runtime_error if none
    /// comes.
    Figures::Clock::time_point arrival() const;

private Q_SLOTS:
    void note(const QDBusObjectPath& device);

private:
    std::atomic<Figures::Clock::rep> _arrival{0};
    QThread _thread;
};
