#pragma once

#include <functional>

#include <QList>
#include <QString>

#include "drives/WindowsPartition.h"

/// The drive letter to hand out next, "C:" at first. It only ever moves forward, and only its first character
/// changes.
class RunningLetter
{
public:
    /// Looks for the first record of the drives map with the volume id `matchKey` (hexadecimal) and returns
    /// its first letter; empty when there is none. Each record up to there, the matching one included, moves
    /// this letter forward by one if it begins with it. Records without letters are skipped.
    QString walk(const QList<WindowsPartition>& map, const QString& matchKey);

    /// Moves forward past the letters that are taken, up to "Z:", and returns where it stands then.
    QString nextFree(const std::function<bool(const QString& letter)>& isTaken);

private:
    void advance();

    QString _letter = QStringLiteral("C:");
};
