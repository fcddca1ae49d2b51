#include "provider/udev/ShownDevices.h"

#include <algorithm>

const ShownDevice* ShownDevices::find(const QString& objectPath) const
{
    const auto match = std::find_if(_devices.begin(), _devices.end(),
                                    [&](const ShownDevice& device) { return device.path() == objectPath; });
    return match != _devices.end() ? &*match : nullptr;
}

void ShownDevices::put(const ShownDevice& device)
{
    remove(device.path());
    const auto place =
        std::upper_bound(_devices.begin(), _devices.end(), device, [](const auto& left, const auto& right) {
            return left.shown.order < right.shown.order;
        });
    _devices.insert(place, device);
}

void ShownDevices::remove(const QString& objectPath)
{
    const auto isMeant = [&](const ShownDevice& device) { return device.path() == objectPath; };
    _devices.erase(std::remove_if(_devices.begin(), _devices.end(), isMeant), _devices.end());
}

QStringList ShownDevices::partitionsOf(const BlockDevice& disk) const
{
    QStringList result;
    for (const ShownDevice& device : _devices) {
        if (device.block.isPartition() && device.block.diskPath() == disk.path()) {
            result.prepend(device.path());
        }
    }
    return result;
}

std::vector<const Device*> ShownDevices::devices() const
{
    std::vector<const Device*> result;
    for (const ShownDevice& device : _devices) {
        result.push_back(&device.shown.device);
    }
    return result;
}

std::vector<AnnouncedDevice> ShownDevices::announced() const
{
    std::vector<AnnouncedDevice> result;
    for (const ShownDevice& device : _devices) {
        result.push_back(device.announced());
    }
    return result;
}
