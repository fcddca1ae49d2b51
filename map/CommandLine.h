#pragma once

#include <string>
#include <vector>

#include <QString>

/// The request of the user.
struct Invocation
{
    enum class Command
    {
        Help,
        Version,
        Show,  ///< what was found
        Write, ///< the same, and write the map
    };

    Command command = Command::Show;
    bool json = false;
    bool fromRegistry = false; ///< drives maps are not looked for
    QString windows;           ///< the node of the only partition to look at; empty: all of them
};

namespace CommandLine {

/// `arguments` are those after the program's name, as bytes. Throws UsageError.
Invocation parse(const std::vector<std::string>& arguments);

std::string helpText();
std::string versionText();

} // namespace CommandLine
