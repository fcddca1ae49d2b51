#include "client/service/Exchange.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <Poco/Exception.h>
#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/StreamCopier.h>

#include "client/service/ServiceQueue.h"
#include "process/StandardStreams.h"
#include "socket/ClientSocket.h"

namespace Exchange {
namespace {

using Clock = std::chrono::steady_clock;
using Kind = Outcome::Kind;
using std::chrono::milliseconds;

constexpr const char* Busy = "the service is busy and took no connection in time";
/// A client that is being served holds the service for as long as it does not notice.
constexpr milliseconds LongestPause(20);

class Connection : public VORNA::ClientSocket
{
public:
    Connection()
        : ClientSocket(AF_UNIX, SOCK_STREAM)
    {
    }
    int descriptor() const { return fd; }
};

void stayBehind()
{
    setsid();
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, nullptr);
    detachStandardStreams();
}

/// Whether nobody holds the other end any more, or does not within `pause`.
bool losesPeer(int descriptor, milliseconds pause)
{
    pollfd end{descriptor, 0, 0};
    return poll(&end, 1, static_cast<int>(pause.count())) > 0;
}

bool isAwaited(const Poco::Pipe& caller)
{
    return !losesPeer(caller.writeHandle(), milliseconds(0));
}

Clock::time_point endOf(unsigned long timeout)
{
    return timeout == 0 ? Clock::time_point::max() : Clock::now() + std::chrono::microseconds(timeout);
}

/// Waits until the service accepts the connection. Whether the request is to be sent: not after `end`, nor
/// when the caller is gone. A service that is gone is for the next transfer to report.
bool isAdmitted(const Connection& connection, Clock::time_point end, const Poco::Pipe& caller)
{
    milliseconds pause(1);
    while (isAwaited(caller) && waitsInQueue(connection.descriptor())) {
        const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
        if (left <= milliseconds(0)) {
            return false;
        }
        if (losesPeer(connection.descriptor(), std::min(pause, left))) {
            break;
        }
        pause = std::min(2 * pause, LongestPause);
    }
    return isAwaited(caller);
}

/// The reply ends where the service closes the connection.
std::string wholeReply(Connection& connection)
{
    std::string reply;
    std::string part;
    while (connection.read(part) > 0) {
        reply += part;
    }
    return reply;
}

std::string sendAndReceive(Connection& connection, const std::string& request)
{
    connection.send(request, 0);
    // Ends the request whatever its length; else one of exactly 10240 bytes would wait for more.
    connection.shutdown(SHUT_WR);
    return wholeReply(connection);
}

/// Whoever is connected must send something and read the reply. To an empty request the service only replies
/// that it knows no such command.
void withdraw(Connection& connection)
{
    try {
        sendAndReceive(connection, {});
    } catch (const VORNA::SocketException&) { // NOLINT(bugprone-empty-catch): the service has ended
    }
}

std::string reasonOf(const VORNA::SocketConnectingException& exception)
{
    return exception.error() == EAGAIN ? Busy : std::strerror(exception.error());
}

/// The caller goes on when it has the outcome. A caller that is gone gets nothing: the stream absorbs the
/// broken pipe.
void writeOutcome(Poco::Pipe& caller, const Outcome& outcome)
{
    Poco::PipeOutputStream stream(caller);
    stream << static_cast<char>(outcome.kind) << outcome.text << std::flush;
    caller.close(Poco::Pipe::CLOSE_WRITE);
}

Outcome readOutcome(const Poco::Pipe& child)
{
    Poco::PipeInputStream stream(child);
    std::string message;
    Poco::StreamCopier::copyToString(stream, message);
    if (message.empty()) {
        return {Kind::Unreachable, "the process that reads the reply has ended"};
    }
    return {static_cast<Kind>(message.front()), message.substr(1)};
}

void carryOut(const std::string& path, const std::string& request, unsigned long timeout, Poco::Pipe& caller)
{
    const Clock::time_point end = endOf(timeout);
    Connection connection;
    connection.setSendTimeout(timeout);
    connection.connect(path);
    connection.setSendTimeout(0);
    if (isAdmitted(connection, end, caller)) {
        writeOutcome(caller, {Kind::Replied, sendAndReceive(connection, request)});
    } else {
        writeOutcome(caller, {Kind::Unreachable, Busy});
        withdraw(connection);
    }
}

/// Nothing that goes wrong in the child may go on as if it were the caller, hence noexcept.
[[noreturn]] void live(const std::string& path, const std::string& request, unsigned long timeout,
                       Poco::Pipe& caller) noexcept
{
    stayBehind();
    caller.close(Poco::Pipe::CLOSE_READ);
    try {
        carryOut(path, request, timeout, caller);
    } catch (const VORNA::SocketConnectingException& exception) {
        writeOutcome(caller, {Kind::Unreachable, reasonOf(exception)});
    } catch (const VORNA::SocketException& exception) {
        writeOutcome(caller, {Kind::Unreachable, "the service went away: " + exception.message()});
    }
    _exit(0);
}

/// The child is not waited for: when its request is withdrawn it stays behind, and in the end init reaps it.
Outcome askChild(const std::string& path, const std::string& request, unsigned long timeout)
{
    Poco::Pipe pipe;
    const pid_t child = fork();
    if (child < 0) {
        throw Poco::SystemException("no process can be started");
    }
    if (child == 0) {
        live(path, request, timeout, pipe);
    }
    pipe.close(Poco::Pipe::CLOSE_WRITE);
    return readOutcome(pipe);
}

} // namespace

Outcome run(const std::string& path, const std::string& request, unsigned long timeout)
{
    try {
        return askChild(path, request, timeout);
    } catch (const Poco::Exception& exception) {
        return {Kind::Unreachable, exception.displayText()};
    }
}

} // namespace Exchange
