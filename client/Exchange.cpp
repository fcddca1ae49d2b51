#include "client/Exchange.h"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <Poco/Exception.h>
#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/StreamCopier.h>

#include <QByteArray>

#include "client/DetachedStreams.h"
#include "server/ClientSocket.h"

namespace Exchange {
namespace {

using Kind = Outcome::Kind;

void stayBehind()
{
    setsid();
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, nullptr);
    detachStandardStreams();
}

bool isAwaited(const Poco::Pipe& caller)
{
    pollfd pipe{caller.writeHandle(), 0, 0};
    return poll(&pipe, 1, 0) == 0;
}

/// The reply ends where the service closes the connection.
std::string wholeReply(VORNA::ClientSocket& socket)
{
    std::string reply;
    std::string part;
    while (socket.read(part) > 0) {
        reply += part;
    }
    return reply;
}

/// Whoever is connected must send something and read the reply: a withdrawn request is an empty one, to which
/// the service only replies that it knows no such command.
std::string converse(VORNA::ClientSocket& socket, const std::string& request, const Poco::Pipe& caller)
{
    socket.setSendTimeout(0);
    socket.send(isAwaited(caller) ? request : std::string(), 0);
    // Ends the request whatever its length; else one of exactly 10240 bytes would wait for more.
    socket.shutdown(SHUT_WR);
    return wholeReply(socket);
}

/// The socket library tells the errno of a failed connect only as the number that its message ends in.
std::string reasonOf(const VORNA::SocketConnectingException& exception)
{
    const std::string& message = exception.message();
    const int error = QByteArray::fromStdString(message.substr(message.find_last_of(' ') + 1)).toInt();
    return error == EAGAIN ? "the service is busy and took no connection in time" : std::strerror(error);
}

Outcome carryOut(const std::string& path, const std::string& request, unsigned long timeout,
                 const Poco::Pipe& caller)
{
    try {
        VORNA::ClientSocket socket(AF_UNIX, SOCK_STREAM);
        socket.setSendTimeout(timeout);
        socket.connect(path);
        return {Kind::Replied, converse(socket, request, caller)};
    } catch (const VORNA::SocketConnectingException& exception) {
        return {Kind::Unreachable, reasonOf(exception)};
    } catch (const VORNA::SocketException& exception) {
        return {Kind::Unreachable, "the service went away: " + exception.message()};
    }
}

/// A caller that is gone is told nothing: the stream absorbs the broken pipe.
void tell(const Poco::Pipe& caller, const Outcome& outcome)
{
    Poco::PipeOutputStream stream(caller);
    stream << static_cast<char>(outcome.kind) << outcome.text << std::flush;
}

Outcome hear(const Poco::Pipe& child)
{
    Poco::PipeInputStream stream(child);
    std::string message;
    Poco::StreamCopier::copyToString(stream, message);
    if (message.empty()) {
        return {Kind::Unreachable, "the process that reads the reply has ended"};
    }
    return {static_cast<Kind>(message.front()), message.substr(1)};
}

/// Nothing that goes wrong in the child may go on as if it were the caller, hence noexcept.
[[noreturn]] void live(const std::string& path, const std::string& request, unsigned long timeout,
                       Poco::Pipe& caller) noexcept
{
    stayBehind();
    caller.close(Poco::Pipe::CLOSE_READ);
    tell(caller, carryOut(path, request, timeout, caller));
    _exit(0);
}

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
    Outcome outcome = hear(pipe);
    waitpid(child, nullptr, 0);
    return outcome;
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
