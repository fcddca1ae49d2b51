#include "tests/bench/ProcessFigures.h"

#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "tests/support/Files.h"

namespace fs = std::filesystem;

namespace ProcessFigures {
namespace {

std::string directory(pid_t process)
{
    return "/proc/" + std::to_string(process);
}

/// The number behind "KEY:" in the kernel's text.
int value(const std::string& text, const std::string& key)
{
    const std::size_t at = text.find("\n" + key + ":");
    if (at == std::string::npos) {
        throw std::runtime_error("the kernel does not report " + key);
    }
    int result = 0;
    std::istringstream(text.substr(at + key.size() + 2)) >> result;
    return result;
}

std::string withoutLineEnd(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

} // namespace

Memory memory(pid_t process)
{
    const std::string text = Files::content(directory(process) + "/smaps_rollup");
    return {value(text, "Pss"), value(text, "Rss"),
            value(text, "Private_Clean") + value(text, "Private_Dirty"), value(text, "Anonymous")};
}

int descriptors(pid_t process)
{
    const fs::directory_iterator all(directory(process) + "/fd");
    return static_cast<int>(std::distance(begin(all), end(all)));
}

std::map<std::string, int> contextSwitches(pid_t process)
{
    std::map<std::string, int> result;
    for (const auto& task : fs::directory_iterator(directory(process) + "/task")) {
        const std::string name = withoutLineEnd(Files::content(task.path() / "comm"));
        const std::string status = Files::content(task.path() / "status");
        result[task.path().filename().string() + " " + name] =
            value(status, "voluntary_ctxt_switches") + value(status, "nonvoluntary_ctxt_switches");
    }
    return result;
}

} // namespace ProcessFigures
