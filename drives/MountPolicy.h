#pragma once

#include <QString>

/// Whether and how a file system is mounted, by its type: pure functions, no effects.
namespace MountPolicy {

/// Whether a device of this type is mounted at all: it has a type, and that is not swap space.
bool isMountable(const QString& idType);
/// Whether the user-space NTFS driver mounts it; otherwise the kernel does.
bool isNtfs(const QString& idType);
bool isVfat(const QString& idType);

/// Option data for the kernel's mount: "utf8" for vfat, otherwise empty.
QString kernelMountData(const QString& idType);

} // namespace MountPolicy
