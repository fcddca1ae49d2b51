#include "drives/RunningLetter.h"

// Kept: letters that the map hands out are skipped only as far as the walk comes and only while they follow
// each other in the map's order; and a key that is not a number counts as 0, so it equals a record without a
// volume id.
QString RunningLetter::walk(const QList<WindowsPartition>& map, const QString& matchKey)
{
    const quint32 volumeId = matchKey.toUInt(nullptr, 16);
    for (const WindowsPartition& record : map) {
        if (record.letters.isEmpty()) {
            continue;
        }
        const QString& letter = record.letters.first();
        if (letter.at(0) == _letter.at(0)) {
            advance();
        }
        if (record.volumeId == volumeId) {
            return letter;
        }
    }
    return {};
}

// Kept: when every letter is taken, "Z:" is handed out again and again.
QString RunningLetter::nextFree(const std::function<bool(const QString& letter)>& isTaken)
{
    while (isTaken(_letter) && _letter.at(0) != QLatin1Char('Z')) {
        advance();
    }
    return _letter;
}

/// Kept: there is no end at "Z"; the characters behind it follow.
void RunningLetter::advance()
{
    _letter[0] = QChar(_letter.at(0).unicode() + 1);
}
