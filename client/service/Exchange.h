#pragma once

#include <string>

/// One request and its reply.
///
/// A client that leaves before it has read its reply ends the service, and the user may interrupt the client
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

/// Sends `request` to the socket at `path` when the service has accepted the connection, and waits for the
/// reply. `timeout`, in microseconds and 0 for none, bounds the wait until the request is sent: for a place
/// in the service's queue and then for the service, as far as the kernel says whom it has accepted (see
/// ServiceQueue.h). When it is over, or the caller is gone, the request is withdrawn: it is never sent, and
/// the child keeps the place in the queue until the service has dismissed it. Once a request is sent the
/// reply is always read. Never throws for what the service or the kernel does: that is in the outcome.
Outcome run(const std::string& path, const std::string& request, unsigned long timeout);

} // namespace Exchange
