#include "client/service/ServiceState.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include <unistd.h>

#include "interfaces/ServicePaths.h"

namespace Service {
namespace {

namespace fs = std::filesystem;

constexpr const char* Name = "vrmountdrives";

std::string firstLine(const fs::path& file)
{
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

bool isNumber(const std::string& text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

/// Whether a process sees the mounts that this one sees. Whoever may not look believes it.
bool sharesMounts(const fs::path& process)
{
    std::error_code failure;
    const fs::path theirs = fs::read_symlink(process / "ns/mnt", failure);
    return failure || theirs == fs::read_symlink("/proc/self/ns/mnt", failure);
}

bool isService(const std::string& id)
{
    const fs::path process = fs::path("/proc") / id;
    return isNumber(id) && firstLine(process / "comm") == Name && sharesMounts(process);
}

/// The one that the pid file names, or else any: a service in the foreground may have found an old pid file.
pid_t findProcess(const std::string& named)
{
    if (isService(named)) {
        return std::stoi(named);
    }
    std::error_code failure;
    for (fs::directory_iterator entry("/proc", failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const std::string name = entry->path().filename();
        if (isService(name)) {
            return std::stoi(name);
        }
    }
    return 0;
}

/// Columns of /proc/net/unix: address, count, protocol, flags, type, state, inode, path.
bool isListening(const std::string& socket)
{
    constexpr const char* Accepts = "00010000";
    std::ifstream table("/proc/net/unix");
    for (std::string line; std::getline(table, line);) {
        std::istringstream columns(line);
        std::string word;
        std::string flags;
        std::string path;
        columns >> word >> word >> word >> flags >> word >> word >> word >> path;
        if (flags == Accepts && path == socket) {
            return true;
        }
    }
    return false;
}

long bootTime()
{
    std::ifstream table("/proc/stat");
    for (std::string word; table >> word;) {
        long seconds = 0;
        if (word == "btime" && table >> seconds) {
            return seconds;
        }
    }
    return 0;
}

/// The 22nd column, counted behind the name, which may hold blanks and parentheses.
long startOf(pid_t process)
{
    constexpr int ColumnsBetween = 19;
    const std::string line = firstLine("/proc/" + std::to_string(process) + "/stat");
    std::istringstream columns(line.substr(std::min(line.rfind(')') + 1, line.size())));
    std::string word;
    for (int column = 0; column < ColumnsBetween; ++column) {
        columns >> word;
    }
    long ticks = 0;
    columns >> ticks;
    return ticks > 0 ? bootTime() + ticks / sysconf(_SC_CLK_TCK) : 0;
}

} // namespace

ServiceState look(const std::string& socket)
{
    ServiceState state;
    std::error_code failure;
    state.hasPidFile = fs::exists(ServicePaths::PidFile, failure);
    state.process = findProcess(firstLine(ServicePaths::PidFile));
    if (isListening(socket)) {
        state.stage = ServiceState::Stage::Ready;
    } else if (state.process != 0) {
        state.stage = ServiceState::Stage::Arranging;
    }
    state.since = state.process != 0 ? startOf(state.process) : 0;
    return state;
}

} // namespace Service
