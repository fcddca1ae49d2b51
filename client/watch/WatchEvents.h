#pragma once

#include <chrono>
#include <optional>

#include "client/watch/BusWatch.h"
#include "kernel/Descriptor.h"

/// Waits until the list of drives may have changed, without waking up in between: for the mount table, the
/// provider, and the terminal.
class WatchEvents
{
public:
    enum class Event
    {
        End,    ///< somebody ends the watch, or nobody reads it any more
        Drives, ///< drives or mounts have come, gone or changed their place
        Look,   ///< a drive's content may have changed, or the screen's size
    };

    /// From here on the signals that end the watch, and that of a screen of another size, are events. Throws
    /// std::system_error if the mount table cannot be read.
    WatchEvents();

    /// Waits; with a bound, its end counts as Look.
    Event wait(std::optional<std::chrono::milliseconds> bound = std::nullopt);

private:
    Event signal() const;
    Event heard();

    Descriptor _mounts;
    Descriptor _signals;
    BusWatch _bus;
    bool _hasBus = true;
};
