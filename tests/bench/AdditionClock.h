#pragma once

#include <atomic>

#include <QDBusObjectPath>
#include <QObject>
#include <QThread>

#include "tests/bench/Figures.h"

/// Notes when UDisks' DeviceAdded arrives, on a thread of its own: about when the service hears of it too.
class AdditionClock : public QObject
{
    Q_OBJECT

public:
    AdditionClock();
    ~AdditionClock() override;

    void forget() { _heard = 0; }
    /// When the signal arrived after the last `forget`; waits for it. Throws std::runtime_error if none
    /// comes.
    Figures::Clock::time_point heard() const;

private Q_SLOTS:
    void note(const QDBusObjectPath& device);

private:
    std::atomic<Figures::Clock::rep> _heard{0};
    QThread _thread;
};
