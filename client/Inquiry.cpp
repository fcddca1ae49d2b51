#include "client/Inquiry.h"

#include <algorithm>
#include <array>
#include <climits>
#include <csignal>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <Poco/Exception.h>

#include "process/StandardStreams.h"

namespace {

/// Behind every answer: it distinguishes an empty one from a missing one, and a whole one from a part.
constexpr char Mark = '=';

void write(Poco::Pipe& pipe, const std::string& answer)
{
    for (std::size_t at = 0; at < answer.size();) {
        const auto left = static_cast<int>(answer.size() - at);
        at += static_cast<std::size_t>(pipe.writeBytes(answer.data() + at, left));
    }
}

[[noreturn]] void ask(const std::function<std::string()>& question, Poco::Pipe& pipe) noexcept
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    detachStandardStreams();
    int status = 1;
    try {
        const std::string answer = question() + Mark;
        if (answer.size() <= Inquiry::MaxAnswer) {
            write(pipe, answer);
            status = 0;
        }
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
    // Otherwise not waited for: a process that the kernel does not let go stays until it does.
    waitpid(_process, nullptr, _hasEnded ? 0 : WNOHANG);
}

std::optional<std::string> Inquiry::answer(Clock::time_point end)
{
    std::string answer;
    while (readMore(end, answer)) {
    }
    if (_isLate || answer.empty() || answer.back() != Mark) {
        return std::nullopt;
    }
    answer.pop_back();
    return answer;
}

/// Whether there may be more still.
bool Inquiry::readMore(Clock::time_point end, std::string& answer)
{
    pollfd pipe{_pipe.readHandle(), POLLIN, 0};
    _isLate = poll(&pipe, 1, millisecondsUntil(end)) <= 0;
    if (_isLate) {
        return false;
    }
    std::array<char, PIPE_BUF> buffer{};
    const int count = _pipe.readBytes(buffer.data(), static_cast<int>(buffer.size()));
    _hasEnded = count == 0;
    answer.append(buffer.data(), static_cast<std::size_t>(std::max(count, 0)));
    return count > 0;
}
