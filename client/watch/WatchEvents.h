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
    /// Later ones include those before them.
    enum class Event
    {
        Screen,  ///< the screen has another size, or the time is over
        Content, ///< a drive's content may have changed
        Drives,  ///< drives or mounts have come, gone or changed their place
        End,     ///< somebody ends the watch, or nobody reads it any more
    };

    /// From here on the signals that end the watch, and that of a screen of another size, are events. Throws
    /// std::system_error if the mount table cannot be read.
    WatchEvents();

    /// Waits; with a bound, its end counts as Screen. When drives have changed, it also waits until they have
    /// been calm for a second, but not longer than five: somebody who looks at a drive would be in the way of
    /// the service, which mounts or unmounts it just then.
    Event wait(std::optional<std::chrono::milliseconds> bound = std::nullopt);

private:
    std::optional<Event> next(std::optional<std::chrono::milliseconds> bound);
    Event calmed(Event event);
    Event signal() const;
    Event heard();

    Descriptor _mounts;
    Descriptor _signals;
    BusWatch _bus;
    bool _hasBus = true;
};
