#include "client/survey/Surroundings.h"

#include <algorithm>

#include "kernel/MountTable.h"

namespace {

/// File systems over several devices show a number of their own.
void takeNumberOfNode(MountedDrive& drive, const BlockStack& blocks)
{
    if (!blocks.exists(drive.number) && drive.device.rfind("/dev/", 0) == 0) {
        drive.number = BlockNodes::numberOf(drive.device);
    }
}

} // namespace

Surroundings Surroundings::look(const std::string& socket)
{
    Surroundings result;
    MountTable table;
    result.mounts = table.read();
    result.drives = MountedDrives::among(result.mounts);
    for (MountedDrive& drive : result.drives) {
        takeNumberOfNode(drive, result.blocks);
    }
    result.medium = RescueMedium::of(result.mounts, result.blocks);
    result.service = Service::look(socket);
    return result;
}

void Surroundings::takeAnswer(const std::string& answer)
{
    presented.emplace();
    for (PresentedDevice& device : Provider::read(answer)) {
        const dev_t number = BlockNodes::numberOf(device.node);
        presented->emplace_back(number, std::move(device));
    }
}

const PresentedDevice* Surroundings::presentedAs(dev_t number) const
{
    if (!presented || number == 0) {
        return nullptr;
    }
    const auto match = std::find_if(presented->begin(), presented->end(),
                                    [&](const auto& device) { return device.first == number; });
    return match != presented->end() ? &match->second : nullptr;
}

bool Surroundings::isDivided(const BlockNode& node) const
{
    const auto isPart = [&](const auto& device) { return device.second.disk == node.path; };
    return !blocks.partitionsOf(node.number).empty() ||
           (presented && std::any_of(presented->begin(), presented->end(), isPart));
}
