#include "provider/today/DeadMounts.h"

#include <fcntl.h>
#include <sys/sysmacros.h>

#include "interfaces/ServicePaths.h"
#include "kernel/Descriptor.h"
#include "kernel/FileTree.h"
#include "kernel/MountCalls.h"
#include "process/TerminalText.h"

namespace DeadMounts {
namespace {

/// A file system in user space on a block device; others in user space have numbers of major 0.
bool isDriverOnDevice(const Mount& mount)
{
    return (mount.type == "fuseblk" || mount.type.startsWith("fuseblk.")) && major(mount.number) != 0;
}

/// Whether what was opened is this mount, not what was mounted there meanwhile.
bool isOn(const Mount& mount, const Descriptor& file)
{
    return FileTree::mountIdIn("/proc/self/fdinfo/" + std::to_string(file.get())) ==
           static_cast<std::uint64_t>(mount.id);
}

QString line(const char* form, const QByteArray& target)
{
    const std::string shown = TerminalText::harmless(target.toStdString());
    return QString::fromLatin1(form).arg(QString::fromStdString(shown));
}

} // namespace

std::vector<Mount> among(const std::vector<Mount>& mounts, const BlockStack& blocks)
{
    std::vector<Mount> result;
    for (auto mount = mounts.rbegin(); mount != mounts.rend(); ++mount) {
        const bool hasName = !MountInfo::nameBelow(ServicePaths::FinalRoot, *mount).isEmpty();
        if (blocks.isKnown() && hasName && isDriverOnDevice(*mount) && !blocks.exists(mount->number)) {
            result.push_back(*mount);
        }
    }
    return result;
}

/// The mount is opened without asking its driver, and taken away by what was opened: whatever is mounted or
/// renamed there meanwhile, nothing else is unmounted.
QStringList takeAway(const std::vector<Mount>& dead)
{
    QStringList lines;
    for (const Mount& mount : dead) {
        const Descriptor top(open(mount.target.constData(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        if (!top.isOpen() || !isOn(mount, top)) {
            continue;
        }
        const MountCalls::Outcome outcome =
            MountCalls::detach(QStringLiteral("/proc/self/fd/%1").arg(top.get()));
        if (!outcome.succeeded()) {
            lines += line("the dead mount %1 cannot be taken away: ", mount.target) + outcome.errorText();
            continue;
        }
        FileTree::removeDirectory(mount.target);
        lines += line("%1 is taken away: its device is gone", mount.target);
    }
    return lines;
}

} // namespace DeadMounts
