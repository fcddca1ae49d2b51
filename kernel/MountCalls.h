#pragma once

#include <QString>

#include "kernel/ShellCommand.h"

/// Mounting, unmounting and running programs. Each operation makes exactly the call it is named for and
/// returns the result of that call; nothing here decides, logs or throws. Paths and texts are passed in the
/// encoding of file names, so they are the very bytes of the directories that the framework creates.
namespace MountCalls {

/// Flags of a remount.
constexpr unsigned long RemountFlag = 0x20;
constexpr unsigned long ReadOnlyFlag = 0x1;

/// The result of a call, and `errno` right after it.
struct Outcome
{
    int value = 0;
    int error = 0;

    bool succeeded() const { return value == 0; }
    /// The system's text for `error`.
    QString errorText() const;
};

/// mount(2) with no flags: read-write, the kernel's defaults for everything else. `data` may be empty, never
/// null.
Outcome mountDevice(const QString& device, const QString& directory, const QString& type,
                    const QString& data);
/// mount(2) with MS_MOVE. The mount that `from` lies in must not be shared (the kernel answers EINVAL).
Outcome moveMount(const QString& from, const QString& to);
/// mount(2) with the given flags, `RemountFlag` among them, and data.
Outcome remount(const QString& device, const QString& directory, unsigned long flags, const QString& data);
/// umount(2).
Outcome unmount(const QString& directory);
/// umount2(2) with MNT_FORCE.
Outcome forceUnmount(const QString& directory);
/// umount2(2) with MNT_DETACH: the mount leaves the tree at once, and ends when nobody uses it any more.
Outcome detach(const QString& directory);
/// umount2(2) with MNT_EXPIRE: unmounts nothing that was not marked by an earlier call, and marks it. The
/// error says the rest: EAGAIN where nobody uses the mount, EBUSY where somebody does. Whoever looks at the
/// mount takes the mark away.
Outcome markUnused(const QString& directory);
/// syncfs(2) of the file system that the directory is on: it returns when everything is on the disk.
Outcome writeOut(const QString& directory);
/// system(3), called in a process of its own, so that a signal that arrives meanwhile is the service's: it is
/// handled when the command has ended. The value is the raw wait status, or -1 when no shell could be run.
Outcome run(const ShellCommand& command);

} // namespace MountCalls
