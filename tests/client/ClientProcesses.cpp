#include "tests/client/ClientProcesses.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>

#include <sys/syscall.h>
#include <unistd.h>

#include "tests/support/WaitFor.h"

namespace ClientProcesses {
namespace {

namespace fs = std::filesystem;

pid_t parentOf(const fs::path& process)
{
    std::ifstream status(process / "status");
    std::string word;
    while (status >> word) {
        if (word == "PPid:") {
            pid_t parent = 0;
            status >> parent;
            return parent;
        }
    }
    return 0;
}

/// The file that another process has open as `number`; -1 if that is not permitted.
int copyOf(pid_t process, int number)
{
    const long handle = syscall(SYS_pidfd_open, process, 0);
    const long copy = syscall(SYS_pidfd_getfd, handle, number, 0);
    close(static_cast<int>(handle));
    return static_cast<int>(copy);
}

bool isNumber(const std::string& name)
{
    return name.find_first_not_of("0123456789") == std::string::npos;
}

std::optional<pid_t> findChildOf(pid_t process)
{
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (isNumber(name) && parentOf(entry.path()) == process) {
            return std::stoi(name);
        }
    }
    return std::nullopt;
}

std::optional<int> findSocketOf(pid_t process)
{
    for (int number = STDERR_FILENO + 1; number < 20; ++number) {
        if (descriptor(process, number).rfind("socket:", 0) == 0) {
            return number;
        }
    }
    return std::nullopt;
}

template<typename Search>
int found(Search search)
{
    std::optional<int> result;
    if (!waitFor([&] { return (result = search()).has_value(); })) {
        throw std::runtime_error("the client has no such child or socket");
    }
    return *result;
}

} // namespace

pid_t childOf(pid_t process)
{
    return found([process] { return findChildOf(process); });
}

std::string descriptor(pid_t process, int number)
{
    std::error_code error;
    return fs::read_symlink("/proc/" + std::to_string(process) + "/fd/" + std::to_string(number), error);
}

int socketOf(pid_t process)
{
    return copyOf(process, found([process] { return findSocketOf(process); }));
}

bool isConnecting(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/syscall");
    long number = -1;
    file >> number;
    return number == SYS_connect;
}

bool hasEnded(pid_t process)
{
    return descriptor(process, 0).empty();
}

} // namespace ClientProcesses
