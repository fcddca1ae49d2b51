#include "client/survey/Inquiry.h"

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

/// An answer is sent as its length, a colon and itself, a missing one as the mark.
constexpr char Missing = '!';
constexpr char Colon = ':';

void write(Poco::Pipe& pipe, const std::string& bytes)
{
    for (std::size_t at = 0; at < bytes.size();) {
        const auto left = static_cast<int>(bytes.size() - at);
        at += static_cast<std::size_t>(pipe.writeBytes(bytes.data() + at, left));
    }
}

std::string answerTo(const Inquiry::Question& question)
{
    try {
        const std::string answer = question();
        if (answer.size() <= Inquiry::MaxAnswer) {
            return std::to_string(answer.size()) + Colon + answer;
        }
    } catch (const std::exception&) {
    }
    return {Missing};
}

[[noreturn]] void ask(const std::vector<Inquiry::Question>& questions, Poco::Pipe& pipe) noexcept
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    detachStandardStreams();
    try {
        for (const Inquiry::Question& question : questions) {
            write(pipe, answerTo(question));
        }
    } catch (const std::exception&) {
        // Nobody waits any more.
    }
    _exit(0);
}

/// The next answer, which is taken away from the front of `received`. Nothing if it is missing or not all
/// there.
std::optional<std::string> take(std::string& received)
{
    if (received.front() == Missing) {
        received.erase(0, 1);
        return std::nullopt;
    }
    const std::size_t colon = received.find(Colon);
    const std::size_t length = colon != std::string::npos ? std::stoul(received.substr(0, colon)) : 0;
    if (colon == std::string::npos || received.size() - colon - 1 < length) {
        received.clear();
        return std::nullopt;
    }
    std::string answer = received.substr(colon + 1, length);
    received.erase(0, colon + 1 + length);
    return answer;
}

int millisecondsUntil(Inquiry::Clock::time_point end)
{
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(end - Inquiry::Clock::now());
    return static_cast<int>(std::max(left, milliseconds(0)).count());
}

} // namespace

Inquiry::Inquiry(const std::vector<Question>& questions)
    : _count(questions.size())
    , _process(fork())
{
    if (_process < 0) {
        throw Poco::SystemException("no process can be started");
    }
    if (_process == 0) {
        ask(questions, _pipe);
    }
    _pipe.close(Poco::Pipe::CLOSE_WRITE);
}

Inquiry::~Inquiry()
{
    kill(_process, SIGKILL);
    // Otherwise not waited for: a process that the kernel does not let go stays until it does.
    waitpid(_process, nullptr, _hasEnded ? 0 : WNOHANG);
}

Inquiry::Answers Inquiry::answers(Clock::time_point end)
{
    while (readMore(end)) {
    }
    Answers answers;
    for (std::size_t at = 0; at < _count; ++at) {
        answers.push_back(_received.empty() ? std::nullopt : take(_received));
    }
    return answers;
}

/// Whether there may be more still.
bool Inquiry::readMore(Clock::time_point end)
{
    pollfd pipe{_pipe.readHandle(), POLLIN, 0};
    _isLate = poll(&pipe, 1, millisecondsUntil(end)) <= 0;
    if (_isLate) {
        return false;
    }
    std::array<char, PIPE_BUF> buffer{};
    const int count = _pipe.readBytes(buffer.data(), static_cast<int>(buffer.size()));
    _hasEnded = count <= 0;
    _received.append(buffer.data(), static_cast<std::size_t>(std::max(count, 0)));
    return !_hasEnded;
}
