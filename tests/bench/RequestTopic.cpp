#include "tests/bench/Topics.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

#include <sys/stat.h>

#include "tests/bench/Exchange.h"
#include "tests/bench/Figures.h"
#include "tests/bench/ProcessFigures.h"
#include "tests/bench/Programs.h"
#include "tests/bench/RoundTrip.h"
#include "tests/bench/ServiceRun.h"
#include "tests/bench/TestMachine.h"
#include "tests/support/BusTraffic.h"
#include "tests/support/WaitFor.h"

using Figures::Clock;
using Figures::Sample;
using Figures::text;

namespace {

constexpr int Devices = 16;
constexpr std::size_t Requests = 2000;
constexpr std::size_t Remounts = 200;
constexpr int ManyRequests = 10000;
constexpr int WarmingUp = 1000;
constexpr int MaxGrowth = 64; // KiB, by half of the requests
constexpr const char* First = "/media/C:";
constexpr const char* Last = "/media/R:";
const std::string EchoSocket = "/tmp/echo";

void ask(const std::string& path, const std::string& request, const std::string& expected)
{
    const std::string reply = exchange(path, request);
    if (reply.compare(0, expected.size(), expected) != 0) {
        throw std::runtime_error(request + ": the reply is: " + reply);
    }
}

void askEcho()
{
    ask(EchoSocket, "hello", "hello");
}

void askUnknown()
{
    ask(ServiceRun::CommandSocket, "hello", "Command invalid: hello");
}

void remountByProgram(const std::string& path)
{
    runToEnd({"mount", "-o", "remount", path});
}

void askRemount(const std::string& path)
{
    ask(ServiceRun::CommandSocket, "remount:" + path + "=", "DONE remount");
}

/// Measures them in turn, so that whatever else the machine does hits all of them alike.
std::vector<Sample> inTurn(std::size_t times, const std::vector<std::function<void()>>& exchanges)
{
    std::vector<Sample> result(exchanges.size());
    while (result.back().size() < times) {
        for (std::size_t index = 0; index < exchanges.size(); ++index) {
            const auto start = Clock::now();
            exchanges[index]();
            result[index].add(Figures::milliseconds(Clock::now() - start));
        }
    }
    return result;
}

Figures::Row row(const std::string& name, const Sample& sample)
{
    return {name, text(sample.median(), 3), text(sample.quantile(0.1), 3), text(sample.quantile(0.9), 3),
            std::to_string(sample.size())};
}

void printSimple()
{
    Process echo({BARE_ECHO, EchoSocket});
    struct stat found = {};
    if (!waitFor([&] { return stat(EchoSocket.c_str(), &found) == 0; })) {
        throw std::runtime_error("the echo server does not come up");
    }
    const std::vector<Sample> samples = inTurn(Requests, {askEcho, askUnknown});
    Figures::print("From request to reply", {"", "median", "10 %", "90 %", "times"},
                   {row("bare echo server", samples[0]), row("unknown command, aim: under 0.3", samples[1])});
}

int roundTripsOfRemount(const std::string& path)
{
    BusTraffic traffic;
    askRemount(path);
    return BusTraffic::roundTrips(traffic.calls());
}

void printRemounts()
{
    const auto samples = inTurn(Remounts, {[] { askRemount(First); }, [] { remountByProgram(First); },
                                           [] { askRemount(Last); }, [] { remountByProgram(Last); }});
    Figures::print(
        "A remount of an ext4 partition without options, " + text(Devices) + " partitions",
        {"", "median", "10 %", "90 %", "times"},
        {row("service, first partition", samples[0]), row("mount -o remount, first partition", samples[1]),
         row("service, last partition", samples[2]), row("mount -o remount, last partition", samples[3])});
    Figures::remark("Questions to UDisks asked for: 3 for the first, " + text(Devices + 2) +
                    " for the last; round trips made: " + text(roundTripsOfRemount(First)) + " and " +
                    text(roundTripsOfRemount(Last)) + "; a bare one takes " + text(bareRoundTrip("sda1"), 3) +
                    ".");
}

void askMany(int requests)
{
    for (int request = 0; request < requests; request += 2) {
        askUnknown();
        askRemount(First);
    }
}

/// The service closes a connection a little after the client has its reply.
int descriptorsAtRest(pid_t service)
{
    int least = ProcessFigures::descriptors(service);
    waitFor(
        [&] {
            least = std::min(least, ProcessFigures::descriptors(service));
            return false;
        },
        std::chrono::milliseconds(100));
    return least;
}

struct State
{
    ProcessFigures::Memory memory;
    int descriptors = 0;
};

State stateAfter(int requests, pid_t service)
{
    askMany(requests);
    return {ProcessFigures::memory(service), descriptorsAtRest(service)};
}

Figures::Row row(const std::string& when, const State& state)
{
    return {when, text(state.memory.resident), text(state.memory.anonymous), text(state.memory.proportional),
            text(state.descriptors)};
}

/// A page that is touched for the first time now and then does not count as growth; a few bytes per request
/// do.
void requireNoGrowth(const State& before, const State& after)
{
    if (after.descriptors > before.descriptors) {
        throw std::runtime_error("requests leave descriptors behind");
    }
    if (after.memory.anonymous > before.memory.anonymous + MaxGrowth) {
        throw std::runtime_error("requests leave memory behind");
    }
}

void printEndurance(pid_t service)
{
    const State before = stateAfter(WarmingUp, service);
    const State halfway = stateAfter(ManyRequests / 2, service);
    const State after = stateAfter(ManyRequests / 2, service);
    Figures::print(text(ManyRequests) + " requests in a row, every other one a remount",
                   {"", "RSS KiB", "anonymous KiB", "PSS KiB", "descriptors"},
                   {row("before", before), row("after the first half", halfway), row("after all", after)});
    requireNoGrowth(halfway, after);
}

} // namespace

void Topics::requests()
{
    const TestMachine machine(Devices);
    ServiceRun service;
    service.waitUntilItListens();
    printSimple();
    printRemounts();
    printEndurance(service.id());
    service.stop();
}
