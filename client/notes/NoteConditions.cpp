#include "client/notes/NoteConditions.h"

#include <algorithm>
#include <initializer_list>

#include "interfaces/ServicePaths.h"

namespace NoteConditions {
namespace {

using Presentation = DriveFacts::Presentation;

bool isOneOf(const std::string& text, std::initializer_list<const char*> texts)
{
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

} // namespace

bool isArranged(Drive drive)
{
    return isInternal(drive) && drive.isPartition;
}

bool isInternal(Drive drive)
{
    return drive.presentation == Presentation::Internal;
}

bool isExternal(Drive drive)
{
    return drive.presentation == Presentation::External;
}

bool isNotPresented(Drive drive)
{
    return drive.presentation == Presentation::None;
}

bool isLeftBelow(Drive drive)
{
    const std::string root = ServicePaths::TemporaryRoot + std::string("/");
    return isArranged(drive) && drive.directory.compare(0, root.size(), root) == 0;
}

bool isNtfs(Drive drive)
{
    return drive.type == "ntfs";
}

bool isReadOnlyType(Drive drive)
{
    return isOneOf(drive.type, {"iso9660", "squashfs", "erofs", "cramfs", "romfs"});
}

bool isBitLocker(Drive drive)
{
    return drive.type == "BitLocker";
}

bool isLuks(Drive drive)
{
    return drive.type == "crypto_LUKS";
}

bool isEncrypted(Drive drive)
{
    return drive.usage == "crypto";
}

bool isLvm(Drive drive)
{
    return drive.type == "LVM2_member" || drive.type == "LVM1_member";
}

bool isMd(Drive drive)
{
    return drive.type == "linux_raid_member";
}

bool isRaid(Drive drive)
{
    return drive.usage == "raid";
}

bool isInPool(Drive drive)
{
    return isOneOf(drive.type, {"zfs_member", "bcachefs", "bcache", "ceph_bluestore"});
}

bool isInWindowsPool(Drive drive)
{
    return isOneOf(drive.partitionType, {
                                            "E75CAF8F-F680-4CEE-AFA3-B001E56EFC2D", // Storage Spaces
                                            "AF9B60A0-1431-4F62-BC68-3311714A69AD", // dynamic disk
                                            "0x42",                                 // the same
                                        });
}

bool isSwap(Drive drive)
{
    return drive.type.find("swap") != std::string::npos;
}

bool isFileSystem(Drive drive)
{
    return drive.usage == "filesystem";
}

bool isNothing(Drive drive)
{
    return drive.isIdentified && drive.type.empty();
}

bool isServiceAbsent(Drive drive)
{
    return drive.service == ServiceState::Stage::Absent;
}

bool isServiceArranging(Drive drive)
{
    return drive.service == ServiceState::Stage::Arranging;
}

} // namespace NoteConditions
