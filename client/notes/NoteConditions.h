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

/// A fact that is true.
template<bool DriveFacts::*fact>
bool is(Drive drive)
{
    return drive.*fact;
}

/// A fact that names something.
template<std::string DriveFacts::*fact>
bool has(Drive drive)
{
    return !(drive.*fact).empty();
}

template<int status>
bool probed(Drive drive)
{
    return drive.ntfs == status;
}

constexpr auto isReadOnly = &is<&DriveFacts::isReadOnly>;
constexpr auto isDead = &is<&DriveFacts::isDead>;
constexpr auto isLate = &is<&DriveFacts::isLate>;
constexpr auto isCovered = &has<&DriveFacts::coveredBy>;
constexpr auto isWriteProtected = &is<&DriveFacts::isWriteProtected>;
constexpr auto isIdentified = &is<&DriveFacts::isIdentified>;
constexpr auto isPartition = &is<&DriveFacts::isPartition>;
constexpr auto isMountedElsewhere = &has<&DriveFacts::elsewhere>;
constexpr auto isRescueMedium = &is<&DriveFacts::isRescueMedium>;
constexpr auto hasDriver = &is<&DriveFacts::hasDriver>;
constexpr auto getsLetter = &is<&DriveFacts::getsLetter>;
constexpr auto isLater = &is<&DriveFacts::isLater>;
constexpr auto isPlaceTaken = &has<&DriveFacts::placeTakenBy>;
constexpr auto isRootShared = &is<&DriveFacts::isTemporaryRootShared>;

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
