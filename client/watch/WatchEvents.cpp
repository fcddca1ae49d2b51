#include "client/watch/WatchEvents.h"

#include <algorithm>
#include <array>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "kernel/MountTable.h"

namespace {

using namespace std::chrono_literals;

constexpr auto Calm = 1s;
constexpr auto LongestUnrest = 5s;

Descriptor signals()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGWINCH}) {
        sigaddset(&set, number);
    }
    sigprocmask(SIG_BLOCK, &set, nullptr);
    return Descriptor(signalfd(-1, &set, SFD_CLOEXEC));
}

} // namespace

WatchEvents::WatchEvents()
    : _mounts(openFile(MountTable::Self, O_RDONLY, "cannot read"))
    , _signals(signals())
{
}

WatchEvents::Event WatchEvents::wait(std::optional<std::chrono::milliseconds> bound)
{
    const Event event = next(bound).value_or(Event::Screen);
    return event == Event::Content || event == Event::Drives ? calmed(event) : event;
}

WatchEvents::Event WatchEvents::calmed(Event event)
{
    const auto end = std::chrono::steady_clock::now() + LongestUnrest;
    while (event != Event::End && std::chrono::steady_clock::now() < end) {
        const std::optional<Event> more = next(Calm);
        if (!more) {
            break;
        }
        event = std::max(event, *more);
    }
    return event;
}

std::optional<WatchEvents::Event> WatchEvents::next(std::optional<std::chrono::milliseconds> bound)
{
    // The mount table can always be read; that it has changed is exceptional, and an error too.
    std::array<pollfd, 4> events{{{_mounts.get(), POLLPRI, 0},
                                  {_signals.get(), POLLIN, 0},
                                  {_hasBus ? _bus.descriptor() : -1, POLLIN, 0},
                                  {STDOUT_FILENO, 0, 0}}};
    if (poll(events.data(), events.size(), bound ? static_cast<int>(bound->count()) : -1) <= 0) {
        return std::nullopt;
    }
    if ((events[3].revents & (POLLERR | POLLHUP)) != 0) {
        return Event::End;
    }
    if (events[1].revents != 0) {
        return signal();
    }
    return events[0].revents != 0 ? Event::Drives : heard();
}

WatchEvents::Event WatchEvents::signal() const
{
    signalfd_siginfo about = {};
    const bool isRead = read(_signals.get(), &about, sizeof about) == sizeof about;
    return isRead && about.ssi_signo == SIGWINCH ? Event::Screen : Event::End;
}

WatchEvents::Event WatchEvents::heard()
{
    const std::string what = _bus.take();
    _hasBus = !what.empty();
    return what.find(BusWatch::Arrival) != std::string::npos || !_hasBus ? Event::Drives : Event::Content;
}
