#pragma once

#include <functional>

#include <QList>
#include <QString>

#include "drives/WindowsPartition.h"

/// Which directory below the final root a partition gets: pure functions, no effects.
///
/// The running letter ("C:" at first) is the next one to hand out; only its first character ever changes.
namespace DriveLetters {

/// What a partition's UUID is compared by with the volume ids of the drives map, in hexadecimal: the last
/// eight digits for NTFS, the digits without the dash for vfat, empty for any other type.
QString matchKey(const QString& idType, const QString& idUuid);

/// The first letter of the first record whose volume id equals `matchKey`; empty when none does. Each record
/// walked up to there, the matching one included, advances the running letter by one if it begins with that
/// letter. Records without letters are passed over.
QString fromMap(const QList<WindowsPartition>& map, const QString& matchKey, QString& runningLetter);

/// Advances the running letter past letters that are taken, up to "Z", and returns it.
QString nextFree(QString& runningLetter, const std::function<bool(const QString&)>& isTaken);

/// Whether a label is that of a Windows boot partition, if the partition holds no Windows: it contains
/// "System".
bool isSystemLabel(const QString& idLabel);

} // namespace DriveLetters
