#include "tests/bench/Topics.h"

#include <thread>

#include "tests/bench/Figures.h"
#include "tests/bench/ProcessFigures.h"
#include "tests/bench/ServiceRun.h"
#include "tests/bench/TestMachine.h"

using Figures::text;

namespace {

constexpr int Devices = 16;
constexpr std::chrono::seconds Settling(2);
constexpr std::chrono::seconds Watched(10);

int aMinute(int count)
{
    return static_cast<int>(count * std::chrono::minutes(1) / Watched);
}

void printSwitches(pid_t service)
{
    const std::map<std::string, int> before = ProcessFigures::contextSwitches(service);
    std::this_thread::sleep_for(Watched);
    std::vector<Figures::Row> rows;
    int sum = 0;
    for (const auto& [thread, count] : ProcessFigures::contextSwitches(service)) {
        const int switches = aMinute(count - before.at(thread));
        sum += switches;
        rows.push_back({thread.substr(thread.find(' ') + 1), text(switches)});
    }
    rows.push_back({"all threads", text(sum)});
    Figures::print("Context switches of the idle service in a minute", {"thread", "switches"}, rows);
    Figures::remark("Watched for " + std::to_string(Watched.count()) +
                    " seconds. The command socket is looked at ten "
                    "times a second.");
}

void printMemory(pid_t service)
{
    const ProcessFigures::Memory memory = ProcessFigures::memory(service);
    Figures::print("Memory of the idle service with " + text(Devices) + " partitions, KiB", {"", "KiB"},
                   {{"proportional (PSS), aim: under 12288", text(memory.proportional)},
                    {"resident (RSS), everything shared included", text(memory.resident)},
                    {"its own pages only", text(memory.own)}});
}

} // namespace

void Topics::idle()
{
    const TestMachine machine(Devices);
    ServiceRun service;
    service.waitUntilItListens();
    std::this_thread::sleep_for(Settling);
    printMemory(service.id());
    printSwitches(service.id());
    service.stop();
}
