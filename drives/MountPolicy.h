#pragma once

#include <QString>

/// Whether, where and how a file system is mounted: pure functions, no effects.
namespace MountPolicy {

/// Whether a device of this type is mounted at all: it has a type, and that is no swap space.
bool isMountable(const QString& idType);
/// Whether the user-space NTFS driver mounts it; otherwise the kernel does.
bool isNtfs(const QString& idType);
bool isVfat(const QString& idType);

/// Option data for the kernel's mount: "utf8" for vfat, otherwise empty.
QString kernelMountData(const QString& idType);

/// The device node's name without its first five characters, which are "/dev/".
QString nodeName(const QString& deviceFile);

/// Whether `name`, which may come from a foreign medium, is one name directly below a root: not ".", not
/// "..", and with neither "/" nor NUL in it. The empty name stands for the root itself and is allowed.
bool isLabelAllowed(const QString& name);
/// Whether the device node's name stays below a root: it may hold "/" but does not begin with one, and none
/// of its parts is "." or "..".
bool isNodeAllowed(const QString& name);

/// Full path of the entry `name` of `root`, whatever the name begins with; of the root itself when it is
/// empty.
QString pathBelow(const QString& root, const QString& name);

/// One directory below one of the roots.
struct MountDirectory
{
    QString root; ///< ends in "/"
    QString name; ///< empty: the root itself
    bool isAllowed = false;

    /// Absolute path of the directory, without a slash at its end.
    QString path() const { return pathBelow(root, name); }
};

MountDirectory directoryForLabel(const QString& root, const QString& name);
MountDirectory directoryForNode(const QString& root, const QString& deviceFile);

/// A wait status in base 16, lower-case, without padding; negative numbers with a minus sign ("-1").
QString hexStatus(qint64 status);

} // namespace MountPolicy
