#include "map/reader/TableAnswer.h"

#include <limits>

#include "map/reader/Answer.h"

namespace {

constexpr std::uint64_t MostPartitions = 1024;
constexpr std::uint64_t HighestNumber = 65536;
constexpr std::size_t LongestType = 16;
constexpr std::size_t LongestUuid = 64;

QString textOf(AnswerReader& answer, std::size_t longest)
{
    return QString::fromStdString(answer.text(longest));
}

} // namespace

std::string toAnswer(const PartitionTable& table)
{
    AnswerWriter answer;
    answer.text(table.type.toStdString()).text(table.uuid.toStdString()).number(table.entries.size());
    for (const PartitionTable::Entry& entry : table.entries) {
        answer.number(static_cast<std::uint64_t>(entry.number)).number(entry.offset);
        answer.text(entry.uuid.toStdString());
    }
    return answer.bytes();
}

PartitionTable partitionTableOf(const std::string& bytes)
{
    AnswerReader answer(bytes);
    PartitionTable table;
    table.type = textOf(answer, LongestType);
    table.uuid = textOf(answer, LongestUuid);
    for (std::uint64_t left = answer.number(MostPartitions); left > 0; --left) {
        PartitionTable::Entry entry;
        entry.number = static_cast<int>(answer.number(HighestNumber));
        entry.offset = answer.number(std::numeric_limits<std::uint64_t>::max());
        entry.uuid = textOf(answer, LongestUuid);
        table.entries.push_back(entry);
    }
    answer.end();
    return table;
}
