#include "tests/bench/Topics.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <stdexcept>

#include <sys/mount.h>

#include "tests/bench/Budgets.h"
#include "tests/bench/Figures.h"
#include "tests/bench/MountWatch.h"
#include "tests/bench/Programs.h"
#include "tests/bench/RoundTrip.h"
#include "tests/bench/ServiceRun.h"
#include "tests/bench/TestMachine.h"
#include "tests/support/BusTraffic.h"

using Figures::Clock;
using Figures::Sample;
using Figures::text;

namespace {

constexpr int Rounds = 7;
constexpr int RunsOfARound = 3;
constexpr double Allowance = 1.3;
constexpr double Quickest = 0.1;    ///< the share of the runs that a busy machine disturbs least
constexpr int QuestionsAtStart = 1; ///< which devices there are

/// A level of the log, and what it makes the service ask.
struct Level
{
    std::string name;
    std::vector<std::string> arguments; ///< of the service
    std::string questions;              ///< what the bare bus client is to ask
    int questionsADevice = 0;
};

/// Twice to see whether it is a partition of a disk, three times to mount it and five times to arrange it;
/// and its twenty lines in the log, where they are written.
const Level Ordinary = {"default level", {}, "ask", 2 + 3 + 5};
const Level Debug = {"log=7", {"log=7"}, "ask-all", 20 + 2 + 3 + 5};

/// The measurements with one number of partitions at one level.
struct Figure
{
    int devices = 0;
    const Level* level = nullptr;
    Sample service;
    Sample bare;
    Sample start;     ///< of a bare bus client that asks for the devices only
    Sample questions; ///< of one that asks what the service has to ask, its start included
    Sample roundTrip;
    BusTraffic::Calls calls;

    int asked() const { return level->questionsADevice * devices + QuestionsAtStart; }
    double onTop(double share) const { return service.quantile(share) - bare.quantile(share); }
    double asking(double share) const { return questions.quantile(share) - start.quantile(share); }
    double aim(double share) const { return Allowance * asking(share); }
};

double serviceRun(const Figure& figure, MountWatch& arranged)
{
    ServiceRun service(figure.level->arguments);
    arranged.waitFor(figure.devices);
    const double time = Figures::milliseconds(Clock::now() - service.start());
    service.stop();
    arranged.waitFor(0);
    return time;
}

void takeDown(const std::filesystem::path& root)
{
    for (const auto& entry : std::filesystem::directory_iterator(root)) {
        umount(entry.path().c_str());
        std::filesystem::remove(entry.path());
    }
}

std::vector<std::string> bareCommand(const std::vector<std::string>& nodes)
{
    std::vector<std::string> result = {BARE_MOUNTS};
    result.insert(result.end(), nodes.begin(), nodes.end());
    return result;
}

double bareRun(const std::vector<std::string>& nodes, MountWatch& arranged)
{
    const auto start = Clock::now();
    Process program(bareCommand(nodes), "/tmp/bare.output");
    arranged.waitFor(static_cast<int>(nodes.size()));
    const double time = Figures::milliseconds(Clock::now() - start);
    if (program.waitForEnd() != 0) {
        throw std::runtime_error("the bare sequence fails: " + program.output());
    }
    takeDown("/media");
    return time;
}

void measureRound(Figure& figure)
{
    const TestMachine machine(figure.devices);
    MountWatch arranged("/media/");
    serviceRun(figure, arranged);
    bareRun(machine.nodes(), arranged);
    for (int run = 0; run < RunsOfARound; ++run) {
        figure.service.add(serviceRun(figure, arranged));
        figure.bare.add(bareRun(machine.nodes(), arranged));
        figure.start.add(runToEnd({BARE_BUS_CLIENT}));
        figure.questions.add(runToEnd({BARE_BUS_CLIENT, figure.level->questions}));
        figure.roundTrip.add(bareRoundTrip("sda1"));
    }
}

void watchTraffic(Figure& figure)
{
    const TestMachine machine(figure.devices);
    MountWatch arranged("/media/");
    BusTraffic traffic;
    serviceRun(figure, arranged);
    figure.calls = traffic.calls();
}

std::vector<Figure> measure()
{
    std::vector<Figure> result;
    for (const Level* level : {&Ordinary, &Debug}) {
        for (const int devices : {1, 4, 8, 16}) {
            Figure& figure = result.emplace_back();
            figure.devices = devices;
            figure.level = level;
        }
    }
    // In rounds, so that whatever else the machine does hits every figure alike.
    for (int round = 0; round < Rounds; ++round) {
        for (Figure& figure : result) {
            measureRound(figure);
        }
    }
    for (Figure& figure : result) {
        watchTraffic(figure);
    }
    return result;
}

std::vector<Figure> atLevel(const std::vector<Figure>& all, const Level& level)
{
    std::vector<Figure> result;
    std::copy_if(all.begin(), all.end(), std::back_inserter(result),
                 [&](const Figure& figure) { return figure.level == &level; });
    return result;
}

std::string verdict(double value, double aim)
{
    return value <= aim ? "met" : "missed";
}

struct Statistic
{
    std::string name;
    double share = 0;
};

std::string title(const std::vector<Figure>& all, const Statistic& statistic)
{
    return all.front().level->name + ", " + statistic.name;
}

void printTimes(const std::vector<Figure>& all, const Statistic& statistic)
{
    std::vector<Figures::Row> rows;
    for (const Figure& it : all) {
        const double onTop = it.onTop(statistic.share);
        const double start = it.start.quantile(statistic.share);
        const double aim = it.aim(statistic.share);
        rows.push_back({text(it.devices), text(it.service.quantile(statistic.share)),
                        text(it.bare.quantile(statistic.share)), text(onTop),
                        text(it.asking(statistic.share)), text(aim), verdict(onTop, aim), text(start),
                        text(onTop - start), verdict(onTop - start, aim)});
    }
    Figures::print("From the start of the service to the last move, ext4 partitions: " +
                       title(all, statistic),
                   {"partitions", "service", "bare calls", "on top", "bare questions", "aim", "",
                    "bare start", "on top without start", ""},
                   rows);
}

void printGrowth(const std::vector<Figure>& all, const Statistic& statistic)
{
    std::vector<Figures::Row> rows;
    for (std::size_t index = 1; index < all.size(); ++index) {
        const Figure& less = all[index - 1];
        const Figure& more = all[index];
        const double devices = more.devices - less.devices;
        const double bare =
            (more.bare.quantile(statistic.share) - less.bare.quantile(statistic.share)) / devices;
        const double onTop = (more.onTop(statistic.share) - less.onTop(statistic.share)) / devices;
        const double aim = (more.aim(statistic.share) - less.aim(statistic.share)) / devices;
        rows.push_back({"from " + text(less.devices) + " to " + text(more.devices), text(bare + onTop),
                        text(bare), text(onTop), text(aim), verdict(onTop, aim)});
    }
    Figures::print("What one more partition takes: " + title(all, statistic),
                   {"partitions", "service", "bare calls", "on top", "aim", ""}, rows);
}

void printRoundTrips(const std::vector<Figure>& all)
{
    std::vector<Figures::Row> rows;
    for (const Figure& it : all) {
        const int made = BusTraffic::roundTrips(it.calls);
        rows.push_back({text(it.devices), text(it.asked()), text(made),
                        text(static_cast<double>(made) / it.asked()), text(it.roundTrip.median(), 3)});
    }
    Figures::print(
        "Round trips over the bus: " + all.front().level->name,
        {"partitions", "questions asked for", "round trips made", "ratio", "a bare one, a thousand in a row"},
        rows);
}

void printCalls(const Figure& less, const Figure& more)
{
    std::vector<Figures::Row> rows;
    const double devices = more.devices - less.devices;
    for (const auto& [method, sent] : more.calls) {
        const auto found = less.calls.find(method);
        const BusTraffic::Sent before = found == less.calls.end() ? BusTraffic::Sent() : found->second;
        rows.push_back({method, text(sent.answered), text((sent.answered - before.answered) / devices),
                        text(sent.unanswered), text((sent.unanswered - before.unanswered) / devices)});
    }
    Figures::print("What the service sends over the bus, " + text(more.devices) +
                       " partitions: " + more.level->name,
                   {"method", "round trips", "a partition", "unanswered", "a partition"}, rows);
}

/// "Hello", "RemoveMatch", and twice "GetNameOwner"; once more for each partition, whose proxy asks it too.
constexpr int TripsToTheBus = 4;

void keepBudgets(const std::vector<Figure>& all)
{
    for (const Figure& it : all) {
        Budgets::expectAtMost("round trips beyond the questions asked for, " + text(it.devices) +
                                  " partitions, " + it.level->name,
                              BusTraffic::roundTrips(it.calls) - it.asked(), it.devices + TripsToTheBus);
    }
    const Figure& most = all.back();
    Budgets::expectAtMost("time on top to bare questions, " + text(most.devices) + " partitions, " +
                              most.level->name,
                          most.onTop(Quickest) / most.asking(Quickest), 3);
}

} // namespace

void Topics::startUp()
{
    const std::vector<Figure> figures = measure();
    for (const Level* level : {&Ordinary, &Debug}) {
        const std::vector<Figure> all = atLevel(figures, *level);
        for (const Statistic& statistic : {Statistic{"median", 0.5}, Statistic{"quickest tenth", Quickest}}) {
            printTimes(all, statistic);
            printGrowth(all, statistic);
        }
        printRoundTrips(all);
        printCalls(all.front(), all.back());
        keepBudgets(all);
    }
    Figures::remark(text(Rounds * RunsOfARound) + " runs of whole programs. The aim is " +
                    text(Allowance, 1) + " times the questions asked for, times a bare round trip.");
}
