#pragma once

#include <string>
#include <vector>

#include "tests/bench/Figures.h"
#include "tests/support/Process.h"

/// The shipped service, started in its service role in the foreground.
class ServiceRun
{
public:
    explicit ServiceRun(const std::vector<std::string>& arguments = {});

    /// When it was started.
    Figures::Clock::time_point start() const { return _start; }
    pid_t id() const { return _process.id(); }
    /// Returns when it has arranged the drives and listens for commands; throws std::runtime_error if it does
    /// not.
    void waitUntilItListens();
    /// Ends it with SIGTERM; throws std::runtime_error if it does not end with status 0.
    void stop();

    static const std::string CommandSocket;

private:
    Figures::Clock::time_point _start;
    Process _process;
};
