#include "client/Inquiry.h"

#include <algorithm>
#include <array>
#include <csignal>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <Poco/Exception.h>

#include "process/StandardStreams.h"

namespace {

/// One write of this size is never split.
constexpr int MaxAnswer = 4096;

[[noreturn]] void ask(const std::function<std::string()>& question, Poco::Pipe& pipe) noexcept
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    detachStandardStreams();
    int status = 1;
    try {
        // The mark distinguishes an empty answer from a missing one.
        const std::string answer = "=" + question();
        pipe.writeBytes(answer.data(), std::min(static_cast<int>(answer.size()), MaxAnswer));
        status = 0;
    } catch (const std::exception&) {
    }
    _exit(status);
}

int millisecondsUntil(Inquiry::Clock::time_point end)
{
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(end - Inquiry::Clock::now());
    return static_cast<int>(std::max(left, milliseconds(0)).count());
}

} // namespace

Inquiry::Inquiry(const std::function<std::string()>& question)
    : _process(fork())
{
    if (_process < 0) {
        throw Poco::SystemException("no process can be started");
    }
    if (_process == 0) {
        ask(question, _pipe);
    }
    _pipe.close(Poco::Pipe::CLOSE_WRITE);
}

Inquiry::~Inquiry()
{
    kill(_process, SIGKILL);
    // Not waited for: a process that the kernel does not let go stays until it does.
    waitpid(_process, nullptr, WNOHANG);
}

std::optional<std::string> Inquiry::answer(Clock::time_point end)
{
    pollfd pipe{_pipe.readHandle(), POLLIN, 0};
    if (poll(&pipe, 1, millisecondsUntil(end)) <= 0) {
        return std::nullopt;
    }
    std::array<char, MaxAnswer> buffer{};
    const int count = _pipe.readBytes(buffer.data(), static_cast<int>(buffer.size()));
    if (count <= 0) {
        return std::nullopt;
    }
    return std::string(buffer.data() + 1, static_cast<std::size_t>(count) - 1);
}
