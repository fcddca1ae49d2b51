// The cost of single functions, without any bus, kernel or file.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "drives/RunningLetter.h"
#include "log/LogOutput.h"
#include "log/LogText.h"
#include "log/Trace.h"
#include "server/MountCommand.h"

/// Fatal messages only: what is measured is not the log.
Vorna::Logger* g_dbgR = Vorna::Logger::instance("/tmp/micro_bench.log", Vorna::Fatal, 1048576);

namespace {

QString request(int64_t arguments)
{
    QString result = QStringLiteral("remount:");
    for (int64_t index = 0; index < arguments; ++index) {
        result += QStringLiteral("/media/disk%1=rw,noatime|").arg(index);
    }
    return result;
}

QList<WindowsPartition> drivesMap(int64_t partitions)
{
    QList<WindowsPartition> result;
    for (int64_t index = 1; index <= partitions; ++index) {
        const auto number = static_cast<int>(index);
        result.append(
            {number, static_cast<quint32>(number), QStringLiteral("SERIAL"), {QStringLiteral("C:")}});
    }
    return result;
}

void parsesRequest(benchmark::State& state)
{
    const QString text = request(state.range(0));
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(MountCommand(text));
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(parsesRequest)->RangeMultiplier(8)->Range(1, 512)->Complexity();

void formatsRequest(benchmark::State& state)
{
    const MountCommand command(request(state.range(0)));
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(command.toString());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(formatsRequest)->RangeMultiplier(8)->Range(1, 512)->Complexity();

void refusesUnknownCommand(benchmark::State& state)
{
    const QString text = QStringLiteral("hello");
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(MountCommand(text));
    }
}
BENCHMARK(refusesUnknownCommand);

/// The partition looked for is the last of the map.
void findsLetterInMap(benchmark::State& state)
{
    const QList<WindowsPartition> map = drivesMap(state.range(0));
    const QString key = QString::number(state.range(0), 16);
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(RunningLetter().walk(map, key));
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(findsLetterInMap)->RangeMultiplier(8)->Range(8, 4096)->Complexity();

void quotesText(benchmark::State& state)
{
    const QString text(static_cast<int>(state.range(0)), QLatin1Char('x'));
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(LogText::quoted(text));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(quotesText)->Arg(32)->Arg(4096);

void escapesControlCharacters(benchmark::State& state)
{
    const QString text(static_cast<int>(state.range(0)), QLatin1Char('\n'));
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(LogText::quoted(text));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(escapesControlCharacters)->Arg(32)->Arg(4096);

} // namespace

int main(int argc, char** argv)
{
    installLogOutput();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return EXIT_FAILURE;
    }
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
