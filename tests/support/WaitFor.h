#pragma once

#include <chrono>
#include <thread>

#include <QCoreApplication>

/// Looks at `condition` until it holds or `bound` has passed, and serves the event loop meanwhile; whether it
/// held. Tests wait with this instead of sleeping.
template<typename Condition>
bool waitFor(Condition condition, std::chrono::milliseconds bound = std::chrono::seconds(5))
{
    const auto end = std::chrono::steady_clock::now() + bound;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
