#include "client/survey/MountedDrive.h"

#include <algorithm>

#include "interfaces/ServicePaths.h"

namespace MountedDrives {
namespace {

MountedDrive driveOf(const Mount& mount)
{
    return {mount.id,
            mount.target.toStdString(),
            mount.source.toStdString(),
            mount.root.toStdString(),
            mount.type.toStdString(),
            mount.isReadOnly,
            mount.number};
}

bool startsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

bool isListed(const MountedDrive& drive)
{
    for (const std::string root : {ServicePaths::FinalRoot, ServicePaths::TemporaryRoot}) {
        if (drive.directory == root) {
            return startsWith(drive.device, "/dev/") && drive.root == "/";
        }
        if (startsWith(drive.directory, root + '/')) {
            return true;
        }
    }
    return false;
}

} // namespace

std::vector<MountedDrive> among(const std::vector<Mount>& mounts)
{
    std::vector<MountedDrive> drives;
    for (const Mount& mount : mounts) {
        MountedDrive drive = driveOf(mount);
        if (isListed(drive)) {
            drives.push_back(std::move(drive));
        }
    }
    // The table has a mount below the one that hides it. Ids do not say so: the kernel reuses them.
    std::stable_sort(drives.begin(), drives.end(), [](const MountedDrive& first, const MountedDrive& second) {
        return first.directory < second.directory;
    });
    return drives;
}

} // namespace MountedDrives
