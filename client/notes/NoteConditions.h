#pragma once

#include "client/notes/DriveFacts.h"

/// What notes depend on.
namespace NoteConditions {

using Drive = const DriveFacts&;

/// Exit statuses of ntfs-3g.probe.
enum Probe
{
    Mountable = 0,
    Damaged = 13,
    Hibernated = 14,
    Unclean = 15,
};

template<bool (*condition)(Drive)>
bool no(Drive drive)
{
    return !condition(drive);
}

template<int status>
bool probed(Drive drive)
{
    return drive.ntfs == status;
}

bool isReadOnly(Drive drive);
bool isDead(Drive drive);
bool isLate(Drive drive);
bool isCovered(Drive drive);
bool isWriteProtected(Drive drive);
bool isIdentified(Drive drive);
bool isPartition(Drive drive);
bool isMountedElsewhere(Drive drive);
bool isRescueMedium(Drive drive);
bool hasDriver(Drive drive);
bool getsLetter(Drive drive);
bool isLater(Drive drive);
bool isPlaceTaken(Drive drive);
bool isRootShared(Drive drive);

/// A partition that the service gives a letter to, and may remount.
bool isArranged(Drive drive);
bool isInternal(Drive drive);
bool isExternal(Drive drive);
bool isNotPresented(Drive drive);
/// An internal partition that has not left /mnt.
bool isLeftBelow(Drive drive);

bool isNtfs(Drive drive);
/// It can never be written.
bool isReadOnlyType(Drive drive);
bool isBitLocker(Drive drive);
bool isLuks(Drive drive);
bool isEncrypted(Drive drive);
bool isLvm(Drive drive);
bool isMd(Drive drive);
bool isRaid(Drive drive);
bool isInPool(Drive drive);
/// By the partition's type: its content has no sign of its own.
bool isInWindowsPool(Drive drive);
bool isSwap(Drive drive);
bool isFileSystem(Drive drive);
bool isNothing(Drive drive);

bool isServiceAbsent(Drive drive);
bool isServiceArranging(Drive drive);

} // namespace NoteConditions
