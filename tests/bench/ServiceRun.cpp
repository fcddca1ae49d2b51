#include "tests/bench/ServiceRun.h"

#include <csignal>
#include <fstream>
#include <stdexcept>

#include "tests/support/UnixSockets.h"
#include "tests/support/WaitFor.h"

namespace {

/// With it the program takes the service role.
Figures::Clock::time_point startAfterPidFile()
{
    std::ofstream("/var/run/vrmountdrives.pid").flush();
    return Figures::Clock::now();
}

std::vector<std::string> commandLine(const std::vector<std::string>& arguments)
{
    std::vector<std::string> result = {VRMOUNTDRIVES};
    result.insert(result.end(), arguments.begin(), arguments.end());
    return result;
}

} // namespace

const std::string ServiceRun::CommandSocket = "/tmp/vrmount";

ServiceRun::ServiceRun(const std::vector<std::string>& arguments)
    : _start(startAfterPidFile())
    , _process(commandLine(arguments), "/tmp/service.output")
{
}

void ServiceRun::waitUntilItListens()
{
    if (!waitFor([] { return UnixSockets::somebodyListensAt(CommandSocket); })) {
        throw std::runtime_error("the service does not listen: " + _process.output());
    }
}

void ServiceRun::stop()
{
    _process.send(SIGTERM);
    if (_process.waitForEnd() != 0) {
        throw std::runtime_error("the service does not end well: " + _process.output());
    }
}
