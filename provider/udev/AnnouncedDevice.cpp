#include "provider/udev/AnnouncedDevice.h"

AnnouncedDevice AnnouncedDevice::of(const BlockDevice& block, const Device& device)
{
    return {
        device.objectPath,
        {{QStringLiteral("number"), QString::number(device.number)},
         // A device that comes back under its name is initialised again.
         {QStringLiteral("since"), block.text("USEC_INITIALIZED")},
         {Content, device.properties.value(QStringLiteral("IdUuid")).toString()},
         {QStringLiteral("file"), device.properties.value(QStringLiteral("LinuxLoopFilename")).toString()}}};
}

bool AnnouncedDevice::isReplacedBy(const AnnouncedDevice& other) const
{
    for (auto token = identity.begin(); token != identity.end(); ++token) {
        const QString now = other.identity.value(token.key());
        if (!token->isEmpty() && !now.isEmpty() && *token != now) {
            return true;
        }
    }
    return false;
}
