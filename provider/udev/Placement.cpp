#include "provider/udev/Placement.h"

#include <algorithm>

namespace {

struct Rule
{
    bool (*applies)(const BlockDevice& device, const Sysfs& sysfs);
    bool isInternal;
    const char* reason;
};

QByteArray cardType(const BlockDevice& device, const Sysfs& sysfs)
{
    return device.path().contains("/mmc_host/") ? sysfs.value(device.diskPath(), "device/type")
                                                : QByteArray();
}

/// Whether a parent of the disk sits behind a port of the machine's outside: the kernel says so of PCI
/// devices in a Thunderbolt box or an ExpressCard slot.
bool isBehindAPort(const BlockDevice& device, const Sysfs& sysfs)
{
    for (QByteArray path = device.diskPath(); path.count('/') > 1; path.truncate(path.lastIndexOf('/'))) {
        if (sysfs.value(path, "removable") == "removable") {
            return true;
        }
    }
    return false;
}

bool isOnExternalDevice(const BlockDevice& device, const Sysfs& sysfs)
{
    for (const QByteArray& name : sysfs.names(device.path(), "slaves")) {
        const QByteArray path = sysfs.target(device.path() + "/slaves/" + name);
        const bool isPartition = sysfs.exists(path + "/partition");
        const BlockDevice part({{"DEVPATH", path}, {"DEVTYPE", isPartition ? "partition" : "disk"}});
        if (!path.isEmpty() && !placementOf(part, sysfs).isInternal) {
            return true;
        }
    }
    return false;
}

/// In order: the first that applies decides.
const Rule Table[] = {
    {[](auto& device, auto&) { return device.value("UDISKS_SYSTEM") == "1"; }, true,
     "a rule of this machine says so (UDISKS_SYSTEM)"},
    {[](auto& device, auto&) { return device.value("UDISKS_SYSTEM") == "0"; }, false,
     "a rule of this machine says so (UDISKS_SYSTEM)"},
    // A card's type comes before what is said of its slot: many machines call the slot of a soldered eMMC
    // removable.
    {[](auto& device, auto& sysfs) { return cardType(device, sysfs) == "MMC"; }, true, "eMMC is soldered in"},
    {[](auto& device, auto& sysfs) { return cardType(device, sysfs) == "SD"; }, false, "an SD card"},
    {[](auto& device, auto&) { return device.path().contains("/memstick"); }, false,
     "a memory stick in its slot"},
    {[](auto& device, auto&) { return device.flag("ID_CDROM"); }, false,
     "an optical drive: its discs come and go"},
    // Sticks, card readers and floppies; the kernel says the same of disks at eSATA ports.
    {[](auto& device, auto& sysfs) { return sysfs.number(device.diskPath(), "removable") != 0; }, false,
     "its medium, or the disk itself, can be taken out"},
    {[](auto& device, auto&) { return device.path().contains("/usb"); }, false, "on USB"},
    {[](auto& device, auto&) {
         return device.value("ID_BUS") == "ieee1394" || device.path().contains("/fw");
     },
     false, "on FireWire"},
    {&isBehindAPort, false, "behind a port of the machine's outside, such as Thunderbolt"},
    {&isOnExternalDevice, false, "made of a device that is external"},
};

} // namespace

Placement placementOf(const BlockDevice& device, const Sysfs& sysfs)
{
    const auto* rule = std::find_if(std::begin(Table), std::end(Table),
                                    [&](const Rule& candidate) { return candidate.applies(device, sysfs); });
    return rule != std::end(Table) ? Placement{rule->isInternal, rule->reason}
                                   : Placement{true, "nothing says that it can be taken away"};
}
