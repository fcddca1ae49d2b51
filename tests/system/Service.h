#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "tests/support/LogWatch.h"
#include "tests/support/Process.h"

/// The paths that vrmountdrives uses.
namespace Paths {

inline const std::string PidFile = "/var/run/vrmountdrives.pid";
inline const std::string Log = "/var/log/vorna/vrmountdrives.log";
inline const std::string CommandSocket = "/tmp/vrmount";

} // namespace Paths

/// The shipped program in its service role, in the foreground: a pid file is there before it starts. It ends
/// with the object, whatever state it is in.
class Service
{
public:
    /// `starter` is a command that runs what follows it in its own place, such as `env -i`.
    explicit Service(const std::vector<std::string>& arguments = {"log=10"},
                     const Process::Environment& environment = {},
                     const std::vector<std::string>& starter = {});

    pid_t id() const { return _process.id(); }
    bool isRunning() { return _process.isRunning(); }
    void send(int signalNumber) const { _process.send(signalNumber); }
    std::optional<int> waitForEnd(std::chrono::milliseconds bound) { return _process.waitForEnd(bound); }
    /// Whether it has arranged the drives and listens for commands, or does within the bound.
    bool isReady(std::chrono::milliseconds bound = std::chrono::seconds(10));
    /// Sends the signal and waits for the end: its exit status, or nothing if it lives on.
    std::optional<int> stop(int signalNumber, std::chrono::milliseconds bound = std::chrono::seconds(5));
    /// Its standard error (and output).
    std::string output() const { return _process.output(); }

    /// The shipped program's path.
    static std::string program();
    /// Whether the process with this id listens on the command socket. It does not connect: a client that
    /// leaves without a request ends the service.
    static bool isListening(pid_t process);

private:
    Process _process;
};

/// The service's log file.
namespace ServiceLog {

/// The form in which the log shows a text.
inline std::string quoted(const std::string& text)
{
    return '"' + text + '"';
}

/// Its bytes; empty without a file.
std::string raw();
std::vector<LogWatch::Line> lines();
/// The messages of one level, without the blank that ends those of the framework's stream.
std::vector<std::string> messages(int level);
/// Whether the log holds the message, or does within five seconds.
bool shows(const std::string& message);
/// The same for a text between quotes.
inline bool says(const std::string& text)
{
    return shows(quoted(text));
}
/// How often the log holds the message.
long count(const std::string& message);
/// The log lines of the stop: the directories in the order in which it takes them down.
std::vector<std::string> directoriesTakenDown();

} // namespace ServiceLog
