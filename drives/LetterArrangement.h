#pragma once

#include <QString>

#include "drives/RunningLetter.h"
#include "drives/WindowsDrives.h"

class DeviceProperties;
class MountDirectory;
class MountRoot;

/// Moves the partitions of the machine's own disks, one after the other, from the temporary root to their
/// drive letters below the final one. Nothing throws.
///
/// A letter comes from the drives map, or it is the next one whose directory does not exist. A Windows boot
/// partition is called "system-reserved" instead.
class LetterArrangement
{
public:
    /// Looks for the drives map.
    LetterArrangement(MountRoot& temporaryRoot, MountRoot& finalRoot);

    /// Moves a partition that is mounted below the temporary root and removes its directory there. Returns
    /// where it is mounted then; empty when it stays where it is, because its move failed, or a stop was
    /// asked for before.
    QString arrange(const DeviceProperties& device);

    /// The part of a partition's UUID that is compared with the volume ids of the drives map, in hexadecimal:
    /// the last eight digits for NTFS, the digits without the dash for vfat, empty for any other type.
    static QString matchKey(const QString& idType, const QString& idUuid);

    /// Whether a label is that of a Windows boot partition, if the partition holds no Windows: it contains
    /// "System".
    static bool isSystemLabel(const QString& idLabel);

private:
    QString letterInMap(const DeviceProperties& device);
    QString ownLetter(const DeviceProperties& device, const MountDirectory& temporary);

    MountRoot& _temporary;
    MountRoot& _final;
    WindowsDrives _drivesMap;
    bool _hasMap;
    RunningLetter _runningLetter;
};
