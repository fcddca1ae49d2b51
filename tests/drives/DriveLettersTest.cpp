#include <gmock/gmock.h>

#include <QSet>

#include "drives/DriveLetters.h"

namespace {

WindowsPartition record(quint32 volumeId, const char* letters)
{
    WindowsPartition partition;
    partition.volumeId = volumeId;
    partition.letters = QString::fromLatin1(letters).split(QLatin1Char(';'), Qt::SkipEmptyParts);
    return partition;
}

struct KeyRow
{
    const char* type;
    const char* uuid;
    const char* key;
};

TEST(DriveLetters, TakeTheMatchKeyFromTheUuid)
{
    for (const KeyRow& row : {KeyRow{"ntfs", "01D2A3B4C5D6E7F8", "C5D6E7F8"},
                              {"ntfs", "01D2A3B4", ""},
                              {"ntfs", "01D2A3B4C", "C"},
                              {"vfat", "1234-ABCD", "1234ABCD"},
                              {"vfat", "12", "12"},
                              {"ext4", "0f1e2d3c-4b5a", ""},
                              {"ntfs-vfat", "0123456789", "89"}}) {
        EXPECT_EQ(DriveLetters::matchKey(QString::fromLatin1(row.type), QString::fromLatin1(row.uuid)),
                  QString::fromLatin1(row.key))
            << row.type << " " << row.uuid;
    }
}

struct WalkRow
{
    const char* story;
    QList<WindowsPartition> map;
    const char* key;
    const char* letter;
    const char* runningLetter; ///< afterwards; "C:" before
};

TEST(DriveLetters, WalkTheMapUpToTheMatchAndAdvanceTheRunningLetterByItsOrder)
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
             {"a record without letters is passed over", {record(7, ""), record(7, "G:")}, "7", "G:", "C:"},
             {"no number equals a record without an id", {record(0, "H:")}, "xyz", "H:", "C:"},
             {"two records with one id", {record(5, "I:"), record(5, "J:")}, "5", "I:", "C:"},
             {"an empty map", {}, "5", "", "C:"},
         }) {
        QString runningLetter = QStringLiteral("C:");
        EXPECT_EQ(DriveLetters::fromMap(row.map, QString::fromLatin1(row.key), runningLetter),
                  QString::fromLatin1(row.letter))
            << row.story;
        EXPECT_EQ(runningLetter, QString::fromLatin1(row.runningLetter)) << row.story;
    }
}

TEST(DriveLetters, PutNoUpperBoundOnTheRunningLetterWhileWalkingTheMap)
{
    QString runningLetter = QStringLiteral("Z:");
    DriveLetters::fromMap({record(1, "Z:")}, QStringLiteral("1"), runningLetter);
    EXPECT_EQ(runningLetter, QStringLiteral("[:"));
}

TEST(DriveLetters, HandOutTheNextLetterThatIsNotTaken)
{
    const QSet<QString> taken = {QStringLiteral("C:"), QStringLiteral("D:"), QStringLiteral("F:")};
    QString runningLetter = QStringLiteral("C:");
    const auto isTaken = [&](const QString& letter) { return taken.contains(letter); };
    EXPECT_EQ(DriveLetters::nextFree(runningLetter, isTaken), QStringLiteral("E:"));
    EXPECT_EQ(runningLetter, QStringLiteral("E:"));
}

TEST(DriveLetters, HandOutTheLastLetterAgainWhenAllAreTaken)
{
    QString runningLetter = QStringLiteral("C:");
    const auto isTaken = [](const QString&) { return true; };
    EXPECT_EQ(DriveLetters::nextFree(runningLetter, isTaken), QStringLiteral("Z:"));
    EXPECT_EQ(DriveLetters::nextFree(runningLetter, isTaken), QStringLiteral("Z:"));
}

TEST(DriveLetters, KnowASystemLabelInAnyCase)
{
    for (const char* label : {"System", "System Reserved", "SYSTEM", "my system"}) {
        EXPECT_TRUE(DriveLetters::isSystemLabel(QString::fromLatin1(label))) << label;
    }
    EXPECT_FALSE(DriveLetters::isSystemLabel(QStringLiteral("Sys")));
    EXPECT_FALSE(DriveLetters::isSystemLabel(QString()));
}

} // namespace
