#pragma once

#include <string>

/// One request and its reply.
///
/// A client that leaves before it has read its reply ends the service, and a person may interrupt the client
/// at any time. So a child process carries out the exchange, in a session of its own and deaf to signals; it
/// stays behind until the reply is read, whatever becomes of the process that asked.
namespace Exchange {

struct Outcome
{
    enum class Kind : char
    {
        Replied = 'R',
        Unreachable = 'U',
    };

    Kind kind = Kind::Unreachable;
    std::string text; ///< the reply, or why there is none
};

/// Sends `request` to the socket at `path` and waits for the reply. `timeout`, in microseconds and 0 for
/// none, bounds the connecting: the wait for a place in the service's queue. A caller that goes away while
/// waiting for that place withdraws its request; once it is sent the reply is always read. Never throws for
/// what the service or the kernel does: that is in the outcome.
Outcome run(const std::string& path, const std::string& request, unsigned long timeout);

} // namespace Exchange
