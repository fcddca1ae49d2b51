#include "map/Survey.h"

#include <chrono>

#include "kernel/PartitionTable.h"
#include "map/reader/Answer.h"
#include "map/reader/ConfinedReading.h"
#include "map/reader/Confinement.h"
#include "map/reader/TableAnswer.h"

namespace {

/// Leaves ten of the thirty seconds of the unit to everything else.
constexpr std::chrono::seconds Bound(20);

QStringList disksOf(const std::vector<Volume>& volumes)
{
    QStringList result;
    for (const Volume& volume : volumes) {
        if (!volume.disk.isEmpty() && !result.contains(volume.disk)) {
            result += volume.disk;
        }
    }
    return result;
}

std::vector<std::size_t> searchedOf(const std::vector<Volume>& volumes, const QString& only)
{
    std::vector<std::size_t> result;
    for (std::size_t index = 0; index < volumes.size(); ++index) {
        const Volume& volume = volumes[index];
        const bool isMeant = only.isEmpty() || volume.node == only;
        if (volume.isInternal && volume.type == QLatin1String("ntfs") && isMeant) {
            result.push_back(index);
        }
    }
    return result;
}

ReadingTask tableTask(const QString& disk)
{
    return {disk.toStdString(), [] {
                const PartitionTableReader reader(Confinement::Device);
                return [reader] { return toAnswer(reader.read()); };
            }};
}

ReadingTask windowsTask(const Volume& volume, Wanted wanted)
{
    const auto search = [wanted] {
        const Memory memory{Confinement::Memory, Confinement::MemoryPath};
        return toAnswer(searchForWindows(Confinement::Device, memory, wanted));
    };
    return {volume.node.toStdString(), [search] { return search; }};
}

void apply(const PartitionTable& table, Volume& volume)
{
    const bool isMbr = table.type == QLatin1String("dos");
    volume.diskSignature = isMbr ? table.uuid.toUInt(nullptr, 16) : 0;
    for (const PartitionTable::Entry& entry : table.entries) {
        if (entry.number == volume.number) {
            volume.offset = entry.offset;
            volume.partitionUuid = entry.uuid;
        }
    }
}

/// The outcomes of the survey's processes, put where they belong.
class Evaluation
{
public:
    explicit Evaluation(std::vector<Volume> volumes) { _survey.volumes = std::move(volumes); }

    void takeTable(const QString& disk, const ReadingOutcome& outcome)
    {
        take(disk, outcome, [&](const std::string& answer) {
            const PartitionTable table = partitionTableOf(answer);
            for (Volume& volume : _survey.volumes) {
                if (volume.disk == disk) {
                    apply(table, volume);
                }
            }
        });
    }

    void takeWindows(std::size_t index, const ReadingOutcome& outcome)
    {
        Volume& volume = _survey.volumes[index];
        take(volume.node, outcome, [&](const std::string& answer) {
            WindowsFinding finding = findingOf(answer);
            volume.isReadable = finding.trouble != WindowsFinding::Trouble::NoFileSystem;
            _survey.windows.push_back({index, std::move(finding)});
        });
    }

    Survey result() { return std::move(_survey); }

private:
    template<typename Apply>
    void take(const QString& device, const ReadingOutcome& outcome, Apply applyAnswer)
    {
        QString reason = QString::fromStdString(outcome.text);
        if (outcome.isAnswered) {
            try {
                applyAnswer(outcome.text);
                return;
            } catch (const AnswerError&) {
                reason = QStringLiteral("the process that reads it answers nonsense");
            }
        }
        _survey.notes += QStringLiteral("%1 cannot be read: %2").arg(device, reason);
    }

    Survey _survey;
};

} // namespace

Survey surveyOf(std::vector<Volume> volumes, Wanted wanted, const QString& only)
{
    const QStringList disks = disksOf(volumes);
    const std::vector<std::size_t> searched = searchedOf(volumes, only);
    std::vector<ReadingTask> tasks;
    for (const QString& disk : disks) {
        tasks.push_back(tableTask(disk));
    }
    for (const std::size_t index : searched) {
        tasks.push_back(windowsTask(volumes[index], wanted));
    }
    const std::vector<ReadingOutcome> outcomes = carryOut(tasks, Bound, LongestAnswer);
    Evaluation evaluation(std::move(volumes));
    auto outcome = outcomes.begin();
    for (const QString& disk : disks) {
        evaluation.takeTable(disk, *outcome++);
    }
    for (const std::size_t index : searched) {
        evaluation.takeWindows(index, *outcome++);
    }
    return evaluation.result();
}
