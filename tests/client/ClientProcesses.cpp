#include "tests/client/ClientProcesses.h"

#include <filesystem>
#include <fstream>

#include <sys/syscall.h>

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

bool isNumber(const std::string& name)
{
    return name.find_first_not_of("0123456789") == std::string::npos;
}

} // namespace

std::optional<pid_t> childOf(pid_t process)
{
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (isNumber(name) && parentOf(entry.path()) == process) {
            return std::stoi(name);
        }
    }
    return std::nullopt;
}

std::string descriptor(pid_t process, int number)
{
    std::error_code error;
    return fs::read_symlink("/proc/" + std::to_string(process) + "/fd/" + std::to_string(number), error);
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
