#include "tests/system/Service.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "tests/support/Files.h"
#include "tests/support/UnixSockets.h"
#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;

namespace {

std::vector<std::string> commandLine(const std::vector<std::string>& starter,
                                     const std::vector<std::string>& arguments)
{
    std::vector<std::string> result = starter;
    result.push_back(Service::program());
    result.insert(result.end(), arguments.begin(), arguments.end());
    return result;
}

std::string outputFileAfterPidFile()
{
    std::ofstream(Paths::PidFile, std::ios::app).flush();
    return "/tmp/service.output";
}

bool hasDescriptor(pid_t process, const std::string& target)
{
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(process) + "/fd", ignored)) {
        if (fs::read_symlink(entry.path(), ignored) == target) {
            return true;
        }
    }
    return false;
}

std::string withoutLastBlank(const std::string& message)
{
    return !message.empty() && message.back() == ' ' ? message.substr(0, message.size() - 1) : message;
}

} // namespace

Service::Service(const std::vector<std::string>& arguments, const Process::Environment& environment,
                 const std::vector<std::string>& starter)
    : _process(commandLine(starter, arguments), outputFileAfterPidFile(), environment)
{
}

bool Service::isReady(std::chrono::milliseconds bound)
{
    return waitFor([this] { return isListening(id()) || !isRunning(); }, bound) && isRunning();
}

std::optional<int> Service::stop(int signalNumber, std::chrono::milliseconds bound)
{
    send(signalNumber);
    return waitForEnd(bound);
}

std::string Service::program()
{
    return VRMOUNTDRIVES;
}

bool Service::isListening(pid_t process)
{
    const std::vector<std::string> inodes = UnixSockets::listenersAt(Paths::CommandSocket);
    return std::any_of(inodes.begin(), inodes.end(), [process](const std::string& inode) {
        return hasDescriptor(process, "socket:[" + inode + "]");
    });
}

namespace ServiceLog {

std::string raw()
{
    return Files::content(Paths::Log);
}

std::vector<LogWatch::Line> lines()
{
    return LogWatch::parse(raw());
}

std::vector<std::string> messages(int level)
{
    std::vector<std::string> result;
    for (const LogWatch::Line& line : lines()) {
        if (line.level == level) {
            result.push_back(withoutLastBlank(line.message));
        }
    }
    return result;
}

bool shows(const std::string& message)
{
    return waitFor([&] { return count(message) > 0; });
}

long count(const std::string& message)
{
    const std::vector<LogWatch::Line> all = lines();
    return std::count_if(all.begin(), all.end(), [&](const LogWatch::Line& line) {
        return withoutLastBlank(line.message) == message;
    });
}

std::vector<std::string> directoriesTakenDown()
{
    std::vector<std::string> result;
    for (const std::string& message : messages(Vorna::Debug)) {
        if (message.compare(0, 2, "\"/") == 0) {
            result.push_back(message.substr(1, message.size() - 2));
        }
    }
    return result;
}

} // namespace ServiceLog
