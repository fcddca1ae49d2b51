#include "tests/support/LogWatch.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <regex>
#include <sstream>

#include "log/Trace.h"
#include "tests/support/TestLog.h"

namespace LogWatch {
namespace {

struct Announced
{
    std::string message;
    int level;
};

std::vector<Announced> announced;

bool isAlarming(const Line& line)
{
    return line.level <= Vorna::Warning;
}

} // namespace

void begin(int level)
{
    std::remove(testLogFile().c_str());
    announced.clear();
    g_dbgR->setLogLevel(static_cast<unsigned>(level));
}

std::string raw()
{
    std::ifstream file(testLogFile(), std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

std::vector<Line> parse(const std::string& content)
{
    static const std::regex form("<[^>]*> (.{25,}?) \\((-?[0-9]+)\\) (\t?)([^\r\n]*)\r?\n");
    std::vector<Line> result;
    for (std::sregex_iterator at(content.begin(), content.end(), form), end; at != end; ++at) {
        std::string source = (*at)[1];
        source.erase(source.find_last_not_of(' ') + 1);
        result.push_back({std::stoi((*at)[2]), source, (*at)[4]});
    }
    return result;
}

std::vector<Line> lines()
{
    return parse(raw());
}

std::vector<std::string> messages(int level)
{
    std::vector<std::string> result;
    for (const Line& line : lines()) {
        if (line.level == level) {
            result.push_back(line.message);
        }
    }
    return result;
}

void expect(const std::string& message, int level)
{
    announced.push_back({message, level});
}

std::vector<std::string> unexpected()
{
    std::vector<Announced> open = announced;
    std::vector<std::string> result;
    for (const Line& line : lines()) {
        const auto match = std::find_if(open.begin(), open.end(), [&](const Announced& candidate) {
            return candidate.message == line.message && candidate.level == line.level;
        });
        if (match != open.end()) {
            open.erase(match);
        } else if (isAlarming(line)) {
            result.push_back(line.message);
        }
    }
    for (const Announced& missing : open) {
        result.push_back("announced, but never written at level " + std::to_string(missing.level) + ": " +
                         missing.message);
    }
    return result;
}

} // namespace LogWatch
