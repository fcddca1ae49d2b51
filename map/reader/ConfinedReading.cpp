#include "map/reader/ConfinedReading.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <iterator>
#include <system_error>

#include <fcntl.h>
#include <iconv.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "kernel/Descriptor.h"
#include "map/reader/Confinement.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::chrono::seconds LongestEnd(1);

/// The first byte of what a process writes.
constexpr char Answered = 'A';
constexpr char Refused = 'R';

void writeAll(char kind, const std::string& text)
{
    const std::string bytes = kind + text;
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = write(Confinement::Answer, bytes.data() + done, bytes.size() - done);
        if (count <= 0) {
            return;
        }
        done += static_cast<std::size_t>(count);
    }
}

/// hivex converts names; what does that is loaded from files, which cannot be reached later.
void loadConversions()
{
    static_cast<void>(iconv_open("UTF-8", "UTF-16LE"));
    static_cast<void>(iconv_open("UTF-8", "ISO8859-1"));
}

/// What is left to do when this process is confined.
ReadingTask::Work confined(const ReadingTask& task, int answer)
{
    try {
        Confinement::enter(answer, task.device);
        ReadingTask::Work work = task.prepare();
        Confinement::shut();
        return work;
    } catch (const std::system_error& error) {
        dup2(answer, Confinement::Answer);
        writeAll(Refused, error.what());
        _exit(0);
    }
}

/// Nothing that goes wrong in the child may go on as if it were the parent, hence noexcept.
[[noreturn]] void live(const ReadingTask& task, int answer) noexcept
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    loadConversions();
    writeAll(Answered, confined(task, answer)());
    _exit(0);
}

/// A process and what it has written so far.
class Child
{
public:
    explicit Child(const ReadingTask& task)
    {
        int ends[2] = {-1, -1};
        if (pipe2(ends, O_CLOEXEC) != 0) {
            _text = Refused + std::string("no pipe");
            return;
        }
        _pipe = Descriptor(ends[0]);
        const Descriptor other(ends[1]);
        _id = fork();
        if (_id == 0) {
            live(task, other.get());
        }
    }

    int descriptor() const { return _pipe.get(); }

    /// Takes what is there; closes the pipe at its end and where there is too much.
    void receive(std::size_t longest)
    {
        std::array<char, 65536> piece{};
        const ssize_t count = read(_pipe.get(), piece.data(), piece.size());
        if (count > 0) {
            _text.append(piece.data(), static_cast<std::size_t>(count));
        }
        _isTooLong = _text.size() > longest + 1;
        if (count <= 0 || _isTooLong) {
            _isDone = !_isTooLong;
            _pipe = Descriptor();
        }
    }

    ReadingOutcome end()
    {
        const std::string how = endProcess();
        if (!how.empty() || _text.empty()) {
            return {false, how.empty() ? "said nothing" : how};
        }
        return {_text.front() == Answered, _text.substr(1)};
    }

private:
    /// Why its answer does not count; empty if it does.
    std::string endProcess()
    {
        if (_id <= 0) {
            return _id < 0 && _pipe.isOpen() ? "no process can be started" : "";
        }
        int status = 0;
        if (!_isDone || !endsSoon(status)) {
            kill(_id, SIGKILL);
            waitpid(_id, &status, WNOHANG);
            return _isTooLong ? "wrote too much" : "took too long";
        }
        return WIFSIGNALED(status)
                   ? std::string("the process that reads it died: ") + strsignal(WTERMSIG(status))
                   : std::string();
    }

    /// What has closed its pipe ends at once, unless it is up to something else.
    bool endsSoon(int& status) const
    {
        const Clock::time_point end = Clock::now() + LongestEnd;
        while (waitpid(_id, &status, WNOHANG) == 0) {
            if (Clock::now() > end) {
                return false;
            }
            poll(nullptr, 0, 1);
        }
        return true;
    }

    pid_t _id = -1;
    Descriptor _pipe;
    std::string _text;
    bool _isDone = false;
    bool _isTooLong = false;
};

milliseconds left(Clock::time_point end)
{
    return std::max(std::chrono::ceil<milliseconds>(end - Clock::now()), milliseconds(0));
}

/// Whether anything is still expected. Waits until a process has written something, at most until `end`.
bool receiveOnce(std::vector<Child>& children, Clock::time_point end, std::size_t longest)
{
    std::vector<pollfd> waiting;
    std::transform(children.begin(), children.end(), std::back_inserter(waiting), [](const Child& child) {
        return pollfd{child.descriptor(), POLLIN, 0};
    });
    const bool isExpected =
        std::any_of(waiting.begin(), waiting.end(), [](const pollfd& each) { return each.fd >= 0; });
    if (!isExpected || poll(waiting.data(), waiting.size(), static_cast<int>(left(end).count())) <= 0) {
        return false;
    }
    for (std::size_t index = 0; index < children.size(); ++index) {
        if (waiting[index].revents != 0) {
            children[index].receive(longest);
        }
    }
    return true;
}

} // namespace

std::vector<ReadingOutcome> carryOut(const std::vector<ReadingTask>& tasks, std::chrono::milliseconds bound,
                                     std::size_t longestAnswer)
{
    const Clock::time_point end = Clock::now() + bound;
    std::vector<Child> children;
    children.reserve(tasks.size());
    for (const ReadingTask& task : tasks) {
        children.emplace_back(task);
    }
    while (receiveOnce(children, end, longestAnswer)) {
    }
    std::vector<ReadingOutcome> result;
    std::transform(children.begin(), children.end(), std::back_inserter(result),
                   [](Child& child) { return child.end(); });
    return result;
}
