#include "drives/DriveLetters.h"

#include "drives/MountPolicy.h"

namespace DriveLetters {
namespace {

constexpr int NtfsSerialHalf = 8;
constexpr int VfatDigitsBeforeDash = 4;

void advance(QString& runningLetter)
{
    runningLetter[0] = QChar(runningLetter.at(0).unicode() + 1);
}

} // namespace

QString matchKey(const QString& idType, const QString& idUuid)
{
    if (MountPolicy::isNtfs(idType)) {
        return idUuid.mid(NtfsSerialHalf);
    }
    if (MountPolicy::isVfat(idType)) {
        return idUuid.left(VfatDigitsBeforeDash) + idUuid.mid(VfatDigitsBeforeDash + 1);
    }
    return {};
}

// Kept: letters that the map hands out are skipped only as far as the walk comes and only while they follow
// each other in the map's order; and a key that is no number counts as 0, so it equals a record without a
// volume id.
QString fromMap(const QList<WindowsPartition>& map, const QString& matchKey, QString& runningLetter)
{
    const quint32 volumeId = matchKey.toUInt(nullptr, 16);
    for (const WindowsPartition& record : map) {
        if (record.letters.isEmpty()) {
            continue;
        }
        const QString& letter = record.letters.first();
        if (letter.at(0) == runningLetter.at(0)) {
            advance(runningLetter);
        }
        if (record.volumeId == volumeId) {
            return letter;
        }
    }
    return {};
}

// Kept: when every letter is taken, "Z:" is handed out again and again.
QString nextFree(QString& runningLetter, const std::function<bool(const QString&)>& isTaken)
{
    while (isTaken(runningLetter) && runningLetter.at(0) != QLatin1Char('Z')) {
        advance(runningLetter);
    }
    return runningLetter;
}

bool isSystemLabel(const QString& idLabel)
{
    return idLabel.contains(QLatin1String("System"), Qt::CaseInsensitive);
}

} // namespace DriveLetters
