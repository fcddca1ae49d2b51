#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

/// A program that a test started: it is found on PATH, reads nothing, writes both its outputs to one file,
/// and does not outlive the thread that started it. The destructor ends it: SIGTERM, and SIGKILL after three
/// seconds.
///
/// A program that cannot be started ends with status 127.
class Process
{
public:
    using Environment = std::map<std::string, std::string>;

    /// `environment` comes on top of the test's own.
    explicit Process(std::vector<std::string> command, std::string outputFile = "/dev/null",
                     const Environment& environment = {});
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t id() const { return _id; }
    void send(int signalNumber) const;
    /// Whether it has not ended yet.
    bool isRunning();
    /// Whether it runs the program of this name, or does within some seconds: a shell before it becomes
    /// another.
    bool becomes(const std::string& program) const;
    /// Its exit status, 128 plus the number of the signal that ended it, or nothing if it still runs after
    /// `bound`.
    std::optional<int> waitForEnd(std::chrono::milliseconds bound = std::chrono::seconds(5));
    /// Its output so far.
    std::string output() const;

private:
    pid_t _id = -1;
    std::string _outputFile;
    std::optional<int> _status;
};

/// The output and status of a program that ran to its end.
struct ProcessResult
{
    std::optional<int> status; ///< nothing: it was ended because it took longer than the bound
    std::string output;        ///< both its outputs
};

/// Runs `command` to its end.
ProcessResult runProgram(std::vector<std::string> command, const Process::Environment& environment = {},
                         std::chrono::milliseconds bound = std::chrono::seconds(10));
