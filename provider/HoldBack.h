#pragma once

#include <chrono>

#include "provider/UdevDatabase.h"

/// How long the announcement of a device that UDisks2 has not identified is held back: UDisks2 has what udev
/// knows a moment later, and some devices hold nothing that can be recognised.
class HoldBack
{
public:
    using Clock = std::chrono::steady_clock;

    /// For UDisks2 to tell what udev knows.
    static constexpr std::chrono::milliseconds PATIENCE{200};
    /// For udev to know; a failing disk takes its time, and some machine may have no udev.
    static constexpr std::chrono::seconds LIMIT{10};

    explicit HoldBack(Clock::time_point start);

    /// Whether it has been long enough, now that udev knows this.
    bool isOver(UdevDatabase::Knowledge known, Clock::time_point now);

private:
    Clock::time_point _start;
    UdevDatabase::Knowledge _known = UdevDatabase::Knowledge::Nothing;
    Clock::time_point _knownSince;
};
