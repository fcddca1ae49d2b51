#include "kernel/RescueMedium.h"

#include <array>

#include <sys/sysmacros.h>

namespace {

/// Where live systems mount the medium that they were started from.
constexpr std::array<const char*, 5> MediumDirectories{"/run/live/medium", "/usr/lib/live/mount/medium",
                                                       "/run/initramfs/live", "/run/archiso", "/cdrom"};

/// Goes down from mounts to disks. It enters nothing twice, so that it ends even if an
/// overlay's layers seem to lie on the overlay itself: they are often hidden by what was mounted later.
class Descent
{
public:
    Descent(const std::vector<Mount>& mounts, const BlockStack& blocks)
        : _mounts(mounts)
        , _blocks(blocks)
    {
    }

    void enterPath(const QByteArray& path)
    {
        if (const Mount* mount = MountInfo::holding(path, _mounts)) {
            enterMount(*mount);
        }
    }

    void enterMount(const Mount& mount)
    {
        if (!_entered.insert(mount.id).second) {
            return;
        }
        // Some file systems, such as btrfs, show a number of their own.
        enterDevice(_blocks.exists(mount.number) ? mount.number : _blocks.numberOf(mount.source));
        for (const QByteArray& layer : mount.layers) {
            enterPath(layer);
        }
    }

    const RescueMedium& found() const { return _found; }

private:
    void enterDevice(dev_t number)
    {
        if (number == 0 || !_found.devices.insert(number).second) {
            return;
        }
        const dev_t disk = _blocks.diskOf(number);
        _found.disks.insert(_blocks.kernelName(disk));
        for (const dev_t component : _blocks.componentsOf(disk)) {
            enterDevice(component);
        }
        if (const QByteArray file = _blocks.backingFile(disk); !file.isEmpty()) {
            enterPath(file);
        }
    }

    const std::vector<Mount>& _mounts;
    const BlockStack& _blocks;
    std::set<int> _entered;
    RescueMedium _found;
};

} // namespace

RescueMedium RescueMedium::of(const std::vector<Mount>& mounts, const BlockStack& blocks)
{
    Descent descent(mounts, blocks);
    descent.enterPath("/");
    for (const Mount& mount : mounts) {
        for (const char* directory : MediumDirectories) {
            if (MountInfo::isWithin(mount.target, directory)) {
                descent.enterMount(mount);
            }
        }
    }
    return descent.found();
}
