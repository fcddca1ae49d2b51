#pragma once

#include <vector>

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include "map/LetterPlan.h"

/// The drives map as text, see drives.ini(5).
namespace MapText {

/// The map that gives the planned letters to their partitions; empty if none of them gets one. `windows` is
/// named in a comment.
///
/// It begins with a record for each letter from C: to the highest one that Windows knows, with a volume id
/// that no partition has. Reading them, the service moves the letter that it hands out next past all of them:
/// what is not in the map never gets a letter that belongs to somebody else, here or elsewhere. Where the
/// letters up to Z: might not do for what is not in the map, it gets the characters behind Z.
QByteArray of(const std::vector<PlannedLetter>& plan, const std::vector<Volume>& volumes,
              const QString& windows);

/// A record of a map: a volume id and the first of its letters.
struct Record
{
    quint32 volumeId = 0;
    QString letter;
};

/// The records with a volume id in a map of any origin, in its order; for showing them. How the service reads
/// a map is its own affair.
std::vector<Record> recordsOf(const QByteArray& map);

} // namespace MapText
