#include "provider/today/MediumRules.h"

#include <QDBusObjectPath>

#include "provider/today/DeviceTraits.h"

using namespace DeviceTraits;

namespace {

bool isOnItsDisks(const Device& device, const RescueMedium& medium)
{
    const QVariant disk = device.properties.value(QStringLiteral("PartitionSlave"));
    return medium.disks.contains(device.objectPath) ||
           medium.disks.contains(disk.value<QDBusObjectPath>().path());
}

/// The volumes that a machine starts from.
bool isStartingVolume(const Device& device)
{
    return isEfiSystemPartition(device) || text(device, "IdType") == QLatin1String("iso9660");
}

} // namespace

void hideMemoryDevice(Presentation& device, const Circumstances& /*circumstances*/)
{
    for (const char* word : {"loop", "zram", "ram"}) {
        if (isNumberedDevice(device.shown, QLatin1String(word))) {
            device.isOffered = false;
        }
    }
}

void hideRescueMedium(Presentation& device, const Circumstances& circumstances)
{
    const RescueMedium& medium = circumstances.medium;
    const bool isBesideIt = isOnItsDisks(device.shown, medium) && isStartingVolume(device.shown) &&
                            !flag(device.shown, "DeviceIsSystemInternal");
    if (isBesideIt || medium.devices.count(device.actual.number) != 0) {
        device.isOffered = false;
    }
}
