#include "tests/bench/Topics.h"

#include <future>
#include <stdexcept>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/bench/AdditionClock.h"
#include "tests/bench/Budgets.h"
#include "tests/bench/Figures.h"
#include "tests/bench/MountWatch.h"
#include "tests/bench/RoundTrip.h"
#include "tests/bench/ServiceRun.h"
#include "tests/bench/TestMachine.h"
#include "tests/support/BusTraffic.h"

using Figures::Clock;
using Figures::Sample;
using Figures::text;

namespace {

constexpr int Rounds = 7;
constexpr int RunsOfARound = 6;
constexpr double Allowance = 1.3;
constexpr double Quickest = 0.1; ///< the share of the runs that a busy machine disturbs least
constexpr int Questions = 5;     ///< IdType, DeviceIsSystemInternal, IdUsage, DeviceFile, IdLabel
constexpr const char* Stick = "stick";
constexpr const char* Directory = "/media/STICK";

/// The mount may be there before the provider has answered, so it is waited for on another thread.
double plugged(MachineProvider& provider, AdditionClock& added)
{
    MountWatch mounted(Directory);
    added.forget();
    std::future<Clock::time_point> end = std::async(std::launch::async, [&] {
        mounted.waitFor(1);
        return Clock::now();
    });
    provider.plug(Stick);
    const double time = Figures::milliseconds(end.get() - added.arrival());
    provider.unplug(Stick);
    mounted.waitFor(0);
    return time;
}

double bareMount(MachineProvider& provider)
{
    provider.plug(Stick);
    const auto start = Clock::now();
    const bool isMounted = mkdir(Directory, 0777) == 0 && mount("/dev/sdq1", Directory, "ext4", 0, "") == 0;
    const double time = Figures::milliseconds(Clock::now() - start);
    umount(Directory);
    rmdir(Directory);
    provider.unplug(Stick);
    if (!isMounted) {
        throw std::runtime_error("the bare mount fails");
    }
    return time;
}

struct Figure
{
    Sample service;
    Sample bare;
    int roundTrips = 0;
};

void measureService(Figure& figure, MachineProvider& provider, AdditionClock& added)
{
    ServiceRun service;
    service.waitUntilItListens();
    plugged(provider, added);
    for (int run = 0; run < RunsOfARound; ++run) {
        figure.service.add(plugged(provider, added));
    }
    service.stop();
}

void countRoundTrips(Figure& figure, MachineProvider& provider, AdditionClock& added)
{
    ServiceRun service;
    service.waitUntilItListens();
    BusTraffic traffic;
    plugged(provider, added);
    figure.roundTrips = BusTraffic::roundTrips(traffic.calls());
    service.stop();
}

Figure measure(MachineProvider& provider)
{
    AdditionClock added;
    Figure result;
    for (int round = 0; round < Rounds; ++round) {
        measureService(result, provider, added);
        for (int run = 0; run < RunsOfARound; ++run) {
            result.bare.add(bareMount(provider));
        }
    }
    countRoundTrips(result, provider, added);
    return result;
}

template<typename Value>
Figures::Row row(const std::string& name, Value value)
{
    return {name, text(value(0.1)), text(value(0.5)), text(value(0.9))};
}

void print(const Figure& figure, double roundTrip)
{
    const auto service = [&](double share) { return figure.service.quantile(share); };
    const auto bare = [&](double share) { return figure.bare.quantile(share); };
    const auto onTop = [&](double share) { return service(share) - bare(share); };
    const auto ratio = [&](double share) { return service(share) / bare(share); };
    const auto aim = [&](double /*share*/) { return Allowance * Questions * roundTrip; };
    Figures::print("From DeviceAdded to mounted, an ext4 stick", {"", "10 %", "median", "90 %"},
                   {row("service", service), row("bare mkdir and mount", bare), row("ratio", ratio),
                    row("on top", onTop), row("aim for what is on top", aim)});
    Figures::remark(text(Rounds * RunsOfARound) + " times, a new device each time. Questions asked for: " +
                    text(Questions) + ", round trips made: " + text(figure.roundTrips) +
                    ", a bare one takes " + text(roundTrip, 3) + ".");
}

void keepBudgets(const Figure& figure, double roundTrip)
{
    const double onTop = figure.service.quantile(Quickest) - figure.bare.quantile(Quickest);
    Budgets::expectAtMost("round trips made to questions asked for, a stick",
                          static_cast<double>(figure.roundTrips) / Questions, 1);
    Budgets::expectAtMost("time on top to bare questions, a stick", onTop / (Questions * roundTrip), 3);
}

} // namespace

void Topics::plug()
{
    TestMachine machine(1);
    const Figure figure = measure(machine.provider());
    const double roundTrip = bareRoundTrip("sda1");
    print(figure, roundTrip);
    keepBudgets(figure, roundTrip);
}
