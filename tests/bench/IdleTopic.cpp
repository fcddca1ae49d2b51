#include "tests/bench/Topics.h"

#include <thread>

#include "tests/bench/Budgets.h"
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

/// One program, idle.
struct Program
{
    std::string name;
    pid_t process = 0;
    int switchBudget = 0; ///< of its context switches in a minute
    int memoryBudget = 0; ///< KiB
};

void watchSwitches(const Program& program)
{
    const std::map<std::string, int> before = ProcessFigures::contextSwitches(program.process);
    std::this_thread::sleep_for(Watched);
    std::vector<Figures::Row> rows;
    int sum = 0;
    for (const auto& [thread, count] : ProcessFigures::contextSwitches(program.process)) {
        const int switches = aMinute(count - before.at(thread));
        sum += switches;
        rows.push_back({thread.substr(thread.find(' ') + 1), text(switches)});
    }
    rows.push_back({"all threads", text(sum)});
    const std::string title = "Context switches of the idle " + program.name + " in a minute";
    Figures::print(title, {"thread", "switches"}, rows);
    Figures::remark("Watched for " + std::to_string(Watched.count()) + " seconds.");
    Budgets::expectAtMost(title, sum, program.switchBudget);
}

void weigh(const Program& program)
{
    const ProcessFigures::Memory memory = ProcessFigures::memory(program.process);
    Figures::print("Memory of the idle " + program.name + " with " + text(Devices) + " partitions, KiB",
                   {"", "KiB"},
                   {{"proportional (PSS)", text(memory.proportional)},
                    {"resident (RSS), everything shared included", text(memory.resident)},
                    {"its own pages only", text(memory.own)}});
    Budgets::expectAtMost("memory (PSS) of the idle " + program.name + ", KiB", memory.proportional,
                          program.memoryBudget);
}

} // namespace

/// The service polls its command socket ten times per second; the provider sleeps.
void Topics::idle()
{
    TestMachine machine(Devices);
    ServiceRun service;
    service.waitUntilItListens();
    std::this_thread::sleep_for(Settling);
    for (const Program& program : {Program{"service", service.id(), 660, 12288},
                                   Program{"provider", machine.provider().process().id(), 0, 6144}}) {
        weigh(program);
        watchSwitches(program);
    }
    service.stop();
}
