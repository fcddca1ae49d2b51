#include "tests/bench/ServiceRun.h"

#include <csignal>
#include <fstream>
#include <stdexcept>

#include "tests/support/WaitFor.h"
#include "tests/system/Files.h"

namespace {

/// With it the program takes the service role.
Figures::Clock::time_point startAfterPidFile()
{
    std::ofstream("/var/run/vrmountdrives.pid").flush();
    return Figures::Clock::now();
}

/// Nobody connects to find out: a client that leaves without a request ends the service. The sandbox has
/// sockets of its own, so the table shows no others.
bool somebodyListensAt(const std::string& path)
{
    const std::string listening = " 00010000 ";
    const std::string sockets = Files::content("/proc/net/unix");
    const std::size_t end = sockets.find(" " + path + "\n");
    const std::size_t begin = end == std::string::npos ? end : sockets.rfind('\n', end);
    return begin != std::string::npos &&
           sockets.substr(begin, end - begin).find(listening) != std::string::npos;
}

} // namespace

const std::string ServiceRun::CommandSocket = "/tmp/vrmount";

ServiceRun::ServiceRun()
    : _start(startAfterPidFile())
    , _process({VRMOUNTDRIVES}, "/tmp/service.output")
{
}

void ServiceRun::waitUntilItListens()
{
    if (!waitFor([] { return somebodyListensAt(CommandSocket); })) {
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
