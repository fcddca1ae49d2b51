#include "provider/today/MediumRules.h"

#include <algorithm>

#include <QDBusObjectPath>
#include <QSet>

#include "interfaces/ObjectPath.h"
#include "provider/today/DeviceTraits.h"

using namespace DeviceTraits;

namespace {

bool isOnItsDisks(const Device& device, const RescueMedium& medium)
{
    const QVariant slave = device.properties.value(QStringLiteral("PartitionSlave"));
    const QString disk = slave.value<QDBusObjectPath>().path();
    return std::any_of(medium.disks.begin(), medium.disks.end(), [&](const QByteArray& name) {
        const QString path = ObjectPath::ofDevice(name);
        return path == device.objectPath || path == disk;
    });
}

/// The volumes that a machine starts from.
bool isStartingVolume(const Device& device)
{
    return isEfiSystemPartition(device) || text(device, "IdType") == QLatin1String("iso9660");
}

bool liesInMemory(const Device& device)
{
    constexpr const char* Words[] = {"loop", "zram", "ram"};
    return std::any_of(std::begin(Words), std::end(Words),
                       [&](const char* word) { return isNumberedDevice(device, QLatin1String(word)); });
}

/// Whether the device stands on these and on nothing else.
bool standsOn(const QSet<QString>& objectPaths, const Device& device)
{
    return !device.basis.isEmpty() &&
           std::all_of(device.basis.begin(), device.basis.end(),
                       [&](const QString& part) { return objectPaths.contains(part); });
}

} // namespace

void hideMemoryDevices(Picture& picture, const Circumstances& /*circumstances*/)
{
    QSet<QString> hidden;
    // A device may come before what it stands on.
    for (int before = -1; before < hidden.size();) {
        before = hidden.size();
        for (Presentation& device : picture) {
            if (liesInMemory(device.actual) || standsOn(hidden, device.actual)) {
                device.isOffered = false;
                hidden.insert(device.actual.objectPath);
            }
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
