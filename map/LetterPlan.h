#pragma once

#include <vector>

#include <QString>

#include "map/Volume.h"
#include "map/reader/Registry.h"

/// A drive letter that a Windows knows.
struct PlannedLetter
{
    char letter = 0;
    int volume = -1; ///< index of the partition that gets it; -1: nobody does
    QString reason;  ///< why nobody does
};

/// Which partition gets which of the letters that a Windows remembers. `volumes` stand in the order in which
/// the service arranges them; the result is sorted by letter.
///
/// A letter goes to the one partition at the place that Windows remembers, if a map can name it: by a volume
/// id that no other partition has. Nor may it have been given away before the service looks at the map at
/// all, which it does for the first NTFS or FAT partition that it has mounted: then two partitions would lie
/// on one directory.
std::vector<PlannedLetter> planLetters(const std::vector<Volume>& volumes,
                                       const std::vector<RememberedDrive>& drives);
