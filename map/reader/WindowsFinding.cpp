#include "map/reader/WindowsFinding.h"

#include "map/reader/Answer.h"

namespace {

constexpr std::size_t LongestPath = 4096;
constexpr std::size_t LongestData = 1024;
constexpr std::uint64_t Letters = 26;
constexpr std::uint64_t AnyNumber = std::numeric_limits<std::uint64_t>::max();

void write(AnswerWriter& answer, const Registry& registry)
{
    answer.number(static_cast<std::uint64_t>(registry.written));
    answer.number(registry.isComplete ? 1 : 0).number(registry.drives.size());
    for (const RememberedDrive& drive : registry.drives) {
        answer.number(static_cast<std::uint64_t>(drive.letter - 'A')).text(drive.data);
    }
}

RememberedDrive readDrive(AnswerReader& answer)
{
    const std::uint64_t letter = answer.number(Letters - 1);
    return {static_cast<char>('A' + letter), answer.text(LongestData)};
}

Registry readRegistry(AnswerReader& answer)
{
    Registry registry;
    registry.written = static_cast<std::int64_t>(answer.number(AnyNumber));
    registry.isComplete = answer.flag();
    for (std::uint64_t left = answer.number(Letters); left > 0; --left) {
        registry.drives.push_back(readDrive(answer));
    }
    return registry;
}

} // namespace

std::string toAnswer(const WindowsFinding& finding)
{
    AnswerWriter answer;
    answer.number(static_cast<std::uint64_t>(finding.trouble)).text(finding.mapPath).text(finding.map);
    answer.number(finding.hasRegistry ? 1 : 0);
    write(answer, finding.registry);
    answer.number(finding.bytesRead);
    return answer.bytes();
}

WindowsFinding findingOf(const std::string& bytes)
{
    AnswerReader answer(bytes);
    WindowsFinding finding;
    finding.trouble = static_cast<WindowsFinding::Trouble>(
        answer.number(static_cast<std::uint64_t>(WindowsFinding::Trouble::RegistryDamaged)));
    finding.mapPath = answer.text(LongestPath);
    finding.map = answer.text(LongestMap);
    finding.hasRegistry = answer.flag();
    finding.registry = readRegistry(answer);
    finding.bytesRead = answer.number(AnyNumber);
    answer.end();
    return finding;
}
