#include "kernel/Program.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Program {
namespace {

/// A plain "su" leaves out the directories of the tools for disks.
constexpr const char* SystemPath = "/usr/local/sbin:/usr/sbin:/sbin:/usr/local/bin:/usr/bin:/bin";

/// The path of a program; empty if there is none.
std::string find(const std::string& name)
{
    const char* path = std::getenv("PATH");
    const std::string places = (path != nullptr ? path + std::string(":") : "") + SystemPath;
    for (std::size_t start = 0; start < places.size();) {
        const std::size_t end = std::min(places.find(':', start), places.size());
        std::string candidate = places.substr(start, end - start) + '/' + name;
        if (access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
        start = end + 1;
    }
    return {};
}

[[noreturn]] void become(const std::string& program, const std::vector<char*>& arguments, pid_t caller)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        dup2(null, stream);
    }
    // It may have ended before it could take this process with it.
    if (getppid() == caller) {
        execv(program.c_str(), arguments.data());
    }
    _exit(EXIT_FAILURE);
}

std::optional<int> statusOf(pid_t process)
{
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
        if (errno != EINTR) {
            return std::nullopt;
        }
    }
    return WIFEXITED(status) ? std::optional<int>(WEXITSTATUS(status)) : std::nullopt;
}

} // namespace

bool isInstalled(const std::string& name)
{
    return !find(name).empty();
}

std::optional<int> run(const std::vector<std::string>& command)
{
    const std::string program = find(command.front());
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    const pid_t caller = getpid();
    const pid_t process = program.empty() ? -1 : fork();
    if (process == 0) {
        become(program, arguments, caller);
    }
    return process > 0 ? statusOf(process) : std::nullopt;
}

} // namespace Program
