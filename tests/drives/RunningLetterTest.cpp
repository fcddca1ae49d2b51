#include <gmock/gmock.h>

#include <QSet>

#include "drives/RunningLetter.h"

namespace {

WindowsPartition record(quint32 volumeId, const char* letters)
{
    WindowsPartition partition;
    partition.volumeId = volumeId;
    partition.letters = QString::fromLatin1(letters).split(QLatin1Char(';'), Qt::SkipEmptyParts);
    return partition;
}

/// Where it stands.
QString now(RunningLetter& letter)
{
    return letter.nextFree([](const QString&) { return false; });
}

struct WalkRow
{
    const char* story;
    QList<WindowsPartition> map;
    const char* key;
    const char* letter;
    const char* runningLetter; ///< afterwards; "C:" before
};

TEST(RunningLetter, WalksTheMapUpToTheMatchAndAdvancesByItsOrder)
{
    const QList<WindowsPartition> cde = {record(1, "C:"), record(2, "D:"), record(3, "E:")};
    const QList<WindowsPartition> dc = {record(2, "D:"), record(1, "C:")};
    for (const WalkRow& row : {
             WalkRow{"the first record matches", cde, "1", "C:", "D:"},
             {"the last record matches", cde, "3", "E:", "F:"},
             {"none matches", cde, "9", "", "F:"},
             {"D: first does not advance", dc, "2", "D:", "C:"},
             {"C: behind D: advances once", dc, "1", "C:", "D:"},
             {"upper and lower case digits", {record(0x1234ABCD, "Q:")}, "1234abCD", "Q:", "C:"},
             {"the first of several letters", {record(7, "E:;F:")}, "7", "E:", "C:"},
             {"only the first letter advances", {record(7, "E:;C:")}, "7", "E:", "C:"},
             {"only a letter's first character counts", {record(7, "Cx")}, "7", "Cx", "D:"},
             {"a record without letters is skipped", {record(7, ""), record(7, "G:")}, "7", "G:", "C:"},
             {"no number equals a record without an id", {record(0, "H:")}, "xyz", "H:", "C:"},
             {"two records with one id", {record(5, "I:"), record(5, "J:")}, "5", "I:", "C:"},
             {"an empty map", {}, "5", "", "C:"},
         }) {
        RunningLetter runningLetter;
        EXPECT_EQ(runningLetter.walk(row.map, QString::fromLatin1(row.key)), QString::fromLatin1(row.letter))
            << row.story;
        EXPECT_EQ(now(runningLetter), QString::fromLatin1(row.runningLetter)) << row.story;
    }
}

TEST(RunningLetter, GoesOnFromWhereTheLastWalkLeftIt)
{
    RunningLetter runningLetter;
    runningLetter.walk({record(1, "C:")}, QStringLiteral("1"));
    runningLetter.walk({record(1, "C:")}, QStringLiteral("1"));
    EXPECT_EQ(now(runningLetter), QStringLiteral("D:"));
    runningLetter.walk({record(2, "D:")}, QStringLiteral("1"));
    EXPECT_EQ(now(runningLetter), QStringLiteral("E:"));
}

TEST(RunningLetter, HasNoUpperBoundWhileWalkingTheMap)
{
    QList<WindowsPartition> map;
    for (char letter = 'C'; letter <= 'Z'; ++letter) {
        map.append(record(1, std::string({letter, ':'}).c_str()));
    }
    RunningLetter runningLetter;
    runningLetter.walk(map, QStringLiteral("2"));
    EXPECT_EQ(now(runningLetter), QStringLiteral("[:"));
}

TEST(RunningLetter, IsTheNextThatIsNotTaken)
{
    const QSet<QString> taken = {QStringLiteral("C:"), QStringLiteral("D:"), QStringLiteral("F:")};
    RunningLetter runningLetter;
    const auto isTaken = [&](const QString& letter) { return taken.contains(letter); };
    EXPECT_EQ(runningLetter.nextFree(isTaken), QStringLiteral("E:"));
    EXPECT_EQ(now(runningLetter), QStringLiteral("E:"));
}

TEST(RunningLetter, IsTheLastAgainWhenAllAreTaken)
{
    RunningLetter runningLetter;
    const auto isTaken = [](const QString&) { return true; };
    EXPECT_EQ(runningLetter.nextFree(isTaken), QStringLiteral("Z:"));
    EXPECT_EQ(runningLetter.nextFree(isTaken), QStringLiteral("Z:"));
}

} // namespace
