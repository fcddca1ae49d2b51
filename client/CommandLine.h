#pragma once

#include <string>
#include <vector>

/// The request of the user.
struct Invocation
{
    enum class Command
    {
        Help,
        Version,
        Send, ///< `request` is sent; a remount has been turned into one
        List,
        Eject, ///< of `target`
        Status,
    };

    Command command = Command::Help;
    std::string request; ///< its very bytes
    std::string target;  ///< a directory or a device node, in its very bytes
    std::string socket;
    unsigned long timeout = 0; ///< until the request is sent, in microseconds; 0 for no bound
    bool json = false;
    bool watch = false;
};

namespace CommandLine {

/// A longer request may reach the service in pieces, and it takes the first piece for the whole.
constexpr std::size_t MaxRequest = 32768;

/// `arguments` are those after the program's name, as bytes. Throws UsageError.
Invocation parse(const std::vector<std::string>& arguments);

std::string helpText();
std::string versionText();

} // namespace CommandLine
