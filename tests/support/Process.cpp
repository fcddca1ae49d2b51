#include "tests/support/Process.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/Files.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/WaitFor.h"

namespace {

std::vector<std::string> merged(const Process::Environment& additions)
{
    Process::Environment all;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        const size_t separator = text.find('=');
        all[text.substr(0, separator)] = text.substr(separator + 1);
    }
    for (const auto& [name, value] : additions) {
        all[name] = value;
    }
    std::vector<std::string> result;
    result.reserve(all.size());
    for (const auto& [name, value] : all) {
        result.push_back(name);
        result.back().append("=").append(value);
    }
    return result;
}

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

/// In the child: only calls that are safe after a fork of a process with threads.
[[noreturn]] void become(const std::vector<char*>& arguments, const std::vector<char*>& environment,
                         int output)
{
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int input = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    execvpe(arguments[0], arguments.data(), environment.data());
    _exit(127);
}

int exitStatus(int waitStatus)
{
    return WIFSIGNALED(waitStatus) ? 128 + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

} // namespace

Process::Process(std::vector<std::string> command, std::string outputFile, const Environment& environment)
    : _outputFile(std::move(outputFile))
{
    const int output = open(_outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (output < 0) {
        throw std::runtime_error(_outputFile + ": " + std::strerror(errno));
    }
    std::vector<std::string> environmentTexts = merged(environment);
    const std::vector<char*> argumentPointers = pointers(command);
    const std::vector<char*> environmentPointers = pointers(environmentTexts);
    _id = fork();
    if (_id == 0) {
        become(argumentPointers, environmentPointers, output);
    }
    close(output);
    if (_id < 0) {
        throw std::runtime_error("cannot start " + command.front());
    }
}

Process::~Process()
{
    send(SIGTERM);
    if (!waitForEnd(std::chrono::seconds(3))) {
        send(SIGKILL);
        waitForEnd();
    }
}

void Process::send(int signalNumber) const
{
    if (!_status) {
        kill(_id, signalNumber);
    }
}

bool Process::isRunning()
{
    int waitStatus = 0;
    if (!_status && waitpid(_id, &waitStatus, WNOHANG) == _id) {
        _status = exitStatus(waitStatus);
    }
    return !_status;
}

bool Process::becomes(const std::string& program) const
{
    const std::string comm = "/proc/" + std::to_string(_id) + "/comm";
    return waitFor([&] { return Files::content(comm) == program + '\n'; });
}

std::optional<int> Process::waitForEnd(std::chrono::milliseconds bound)
{
    waitFor([this] { return !isRunning(); }, bound);
    return _status;
}

std::string Process::output() const
{
    std::ifstream file(_outputFile, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

ProcessResult runProgram(std::vector<std::string> command, const Process::Environment& environment,
                         std::chrono::milliseconds bound)
{
    const TemporaryDirectory directory;
    Process process(std::move(command), directory.path() + "/output", environment);
    const std::optional<int> status = process.waitForEnd(bound);
    return {status, process.output()};
}
