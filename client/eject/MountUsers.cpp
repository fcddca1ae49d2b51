#include "client/eject/MountUsers.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <sys/sysmacros.h>

#include "kernel/FileTree.h"

namespace MountUsers {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t MostNamed = 5;

/// No mount in the table has the id 0, which stands for one that is not known.
bool isAmong(const std::vector<Mount>& mounts, std::uint64_t id)
{
    return std::any_of(mounts.begin(), mounts.end(),
                       [&](const Mount& mount) { return static_cast<std::uint64_t>(mount.id) == id; });
}

/// The working directory, the root directory and the program.
bool livesOn(const std::vector<Mount>& mounts, const fs::path& process)
{
    for (const char* place : {"cwd", "root", "exe"}) {
        const auto found = FileTree::look(QByteArray::fromStdString(process / place));
        if (found && isAmong(mounts, found->mountId)) {
            return true;
        }
    }
    return false;
}

bool hasOpenFileOn(const std::vector<Mount>& mounts, const fs::path& process)
{
    std::error_code failure;
    for (fs::directory_iterator file(process / "fdinfo", failure), end; !failure && file != end;
         file.increment(failure)) {
        if (isAmong(mounts, FileTree::mountIdIn(file->path()))) {
            return true;
        }
    }
    return false;
}

/// A line is "address permissions offset major:minor inode path", numbers in hexadecimal digits.
bool hasMapped(const std::vector<Mount>& mounts, const fs::path& process)
{
    std::ifstream maps(process / "maps");
    for (std::string line; std::getline(maps, line);) {
        std::istringstream columns(line);
        std::string word;
        unsigned first = 0;
        unsigned second = 0;
        char colon = 0;
        columns >> word >> word >> word >> std::hex >> first >> colon >> second;
        const dev_t number = makedev(first, second);
        if (first != 0 && std::any_of(mounts.begin(), mounts.end(),
                                      [&](const Mount& mount) { return mount.number == number; })) {
            return true;
        }
    }
    return false;
}

bool isProcess(const std::string& name)
{
    return name.find_first_not_of("0123456789") == std::string::npos;
}

std::string nameOf(const fs::path& process)
{
    std::string name;
    std::getline(std::ifstream(process / "comm") >> std::ws, name);
    return name + " (process " + process.filename().string() + ")";
}

std::vector<std::string> processes(const std::vector<Mount>& mounts)
{
    std::vector<std::string> result;
    std::error_code failure;
    for (fs::directory_iterator entry("/proc", failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const fs::path& process = entry->path();
        if (isProcess(process.filename()) &&
            (livesOn(mounts, process) || hasOpenFileOn(mounts, process) || hasMapped(mounts, process))) {
            result.push_back(nameOf(process));
        }
    }
    return result;
}

std::vector<std::string> loopDevices(const std::vector<Mount>& mounts)
{
    std::vector<std::string> result;
    std::error_code failure;
    for (fs::directory_iterator entry("/sys/block", failure), end; !failure && entry != end;
         entry.increment(failure)) {
        std::string file;
        std::getline(std::ifstream(entry->path() / "loop/backing_file"), file);
        const auto holds = [&](const Mount& mount) {
            return MountInfo::isWithin(QByteArray::fromStdString(file), mount.target);
        };
        if (!file.empty() && std::any_of(mounts.begin(), mounts.end(), holds)) {
            result.push_back("the loop device " + entry->path().filename().string());
        }
    }
    return result;
}

} // namespace

std::string ask(const std::vector<Mount>& mounts)
{
    std::vector<std::string> users = processes(mounts);
    const std::vector<std::string> devices = loopDevices(mounts);
    users.insert(users.end(), devices.begin(), devices.end());
    std::string answer;
    for (const std::string& user : users) {
        answer += user + '\n';
    }
    return answer;
}

std::string sentence(const std::string& answer)
{
    std::istringstream lines(answer);
    std::string result;
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        if (count < MostNamed) {
            result += (count == 0 ? "" : ", ") + line;
        }
    }
    if (count == 0) {
        return "somebody who cannot be seen from here";
    }
    return count <= MostNamed ? result : result + " and " + std::to_string(count - MostNamed) + " more";
}

} // namespace MountUsers
