#include <gmock/gmock.h>

#include "map/reader/Answer.h"
#include "map/reader/TableAnswer.h"
#include "map/reader/WindowsFinding.h"

namespace {

WindowsFinding finding()
{
    WindowsFinding result;
    result.trouble = WindowsFinding::Trouble::MapTooLarge;
    result.mapPath = "Program Files/Vorna/drives.ini";
    result.map = std::string("[Disk0]\n\0", 9);
    result.hasRegistry = true;
    result.registry.written = 132000000000000000;
    result.registry.isComplete = false;
    result.registry.drives = {{'C', std::string(12, '\1')}, {'Z', ""}};
    result.bytesRead = 4711;
    return result;
}

PartitionTable table()
{
    PartitionTable result;
    result.type = QStringLiteral("dos");
    result.uuid = QStringLiteral("1234abcd");
    result.entries = {{1, 1 << 20, QStringLiteral("1234abcd-01")}, {5, 1ULL << 40, {}}};
    return result;
}

TEST(Answer, BringsAFindingThrough)
{
    const WindowsFinding sent = finding();
    const WindowsFinding received = findingOf(toAnswer(sent));
    EXPECT_EQ(received.trouble, sent.trouble);
    EXPECT_EQ(received.mapPath, sent.mapPath);
    EXPECT_EQ(received.map, sent.map);
    EXPECT_EQ(received.hasRegistry, sent.hasRegistry);
    EXPECT_EQ(received.registry.written, sent.registry.written);
    EXPECT_EQ(received.registry.isComplete, sent.registry.isComplete);
    ASSERT_EQ(received.registry.drives.size(), 2U);
    EXPECT_EQ(received.registry.drives[0].letter, 'C');
    EXPECT_EQ(received.registry.drives[0].data, sent.registry.drives[0].data);
    EXPECT_EQ(received.registry.drives[1].letter, 'Z');
    EXPECT_EQ(received.bytesRead, sent.bytesRead);
}

TEST(Answer, BringsATableThrough)
{
    const PartitionTable received = partitionTableOf(toAnswer(table()));
    EXPECT_EQ(received.type, QStringLiteral("dos"));
    EXPECT_EQ(received.uuid, QStringLiteral("1234abcd"));
    ASSERT_EQ(received.entries.size(), 2U);
    EXPECT_EQ(received.entries[0].uuid, QStringLiteral("1234abcd-01"));
    EXPECT_EQ(received.entries[1].number, 5);
    EXPECT_EQ(received.entries[1].offset, 1ULL << 40);
}

TEST(Answer, IsRefusedWhenItIsCutOrLonger)
{
    const std::string one = toAnswer(finding());
    const std::string other = toAnswer(table());
    for (std::size_t length = 0; length < one.size(); ++length) {
        EXPECT_THROW(findingOf(one.substr(0, length)), AnswerError) << length;
    }
    for (std::size_t length = 0; length < other.size(); ++length) {
        EXPECT_THROW(partitionTableOf(other.substr(0, length)), AnswerError) << length;
    }
    EXPECT_THROW(findingOf(one + '\0'), AnswerError);
    EXPECT_THROW(partitionTableOf(other + '\0'), AnswerError);
}

TEST(Answer, IsRefusedBeyondTheBoundOfAField)
{
    const auto finding = [](std::uint64_t trouble, std::size_t path, std::size_t map, std::uint64_t letters,
                            std::uint64_t letter, std::size_t data) {
        AnswerWriter answer;
        answer.number(trouble).text(std::string(path, 'p')).text(std::string(map, 'm')).number(1);
        answer.number(1).number(1).number(letters);
        for (std::uint64_t count = 0; count < letters; ++count) {
            answer.number(letter).text(std::string(data, 'd'));
        }
        return answer.number(0).bytes();
    };
    EXPECT_NO_THROW(findingOf(finding(5, 4096, LongestMap, 26, 25, 1024)));
    EXPECT_THROW(findingOf(finding(6, 0, 0, 0, 0, 0)), AnswerError);
    EXPECT_THROW(findingOf(finding(0, 4097, 0, 0, 0, 0)), AnswerError);
    EXPECT_THROW(findingOf(finding(0, 0, LongestMap + 1, 0, 0, 0)), AnswerError);
    EXPECT_THROW(findingOf(finding(0, 0, 0, 27, 0, 0)), AnswerError);
    EXPECT_THROW(findingOf(finding(0, 0, 0, 1, 26, 0)), AnswerError);
    EXPECT_THROW(findingOf(finding(0, 0, 0, 1, 0, 1025)), AnswerError);
    EXPECT_THROW(AnswerReader(AnswerWriter().number(2).bytes()).flag(), AnswerError);
}

TEST(Answer, OfATableIsRefusedBeyondTheBoundOfAField)
{
    const auto table = [](std::size_t type, std::size_t uuid, std::uint64_t entries, std::uint64_t number,
                          std::size_t partition) {
        AnswerWriter answer;
        answer.text(std::string(type, 't')).text(std::string(uuid, 'u')).number(entries);
        for (std::uint64_t count = 0; count < entries; ++count) {
            answer.number(number).number(0).text(std::string(partition, 'p'));
        }
        return answer.bytes();
    };
    EXPECT_NO_THROW(partitionTableOf(table(16, 64, 1024, 65536, 64)));
    EXPECT_THROW(partitionTableOf(table(17, 0, 0, 0, 0)), AnswerError);
    EXPECT_THROW(partitionTableOf(table(0, 65, 0, 0, 0)), AnswerError);
    EXPECT_THROW(partitionTableOf(table(0, 0, 1025, 0, 0)), AnswerError);
    EXPECT_THROW(partitionTableOf(table(0, 0, 1, 65537, 0)), AnswerError);
    EXPECT_THROW(partitionTableOf(table(0, 0, 1, 0, 65)), AnswerError);
}

} // namespace
