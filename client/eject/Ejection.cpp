#include "client/eject/Ejection.h"

#include <algorithm>

#include "interfaces/ServicePaths.h"

namespace {

/// Whoever cannot be ejected says why.
class Refusal : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

bool isOf(const Mount& mount, dev_t device, const Surroundings& machine)
{
    const bool isNumbered = machine.blocks.exists(mount.number);
    return mount.number == device || (!isNumbered && mount.source.startsWith("/dev/") &&
                                      BlockNodes::numberOf(mount.source.toStdString()) == device);
}

/// The mount on a directory that the user sees there.
const Mount& mountAt(const std::string& directory, const Surroundings& machine)
{
    const auto match = std::find_if(machine.mounts.rbegin(), machine.mounts.rend(), [&](const Mount& mount) {
        return mount.target.toStdString() == directory;
    });
    if (match == machine.mounts.rend()) {
        throw Refusal("nothing is mounted at " + directory);
    }
    return *match;
}

BlockNode deviceAt(const std::string& directory, const Surroundings& machine)
{
    const Mount& mount = mountAt(directory, machine);
    const std::string source = mount.source.toStdString();
    const dev_t number = machine.blocks.exists(mount.number) ? mount.number : BlockNodes::numberOf(source);
    if (number == 0) {
        throw Refusal(directory + " is not on a device");
    }
    return {source, number};
}

/// A disk stands for its partitions.
std::vector<BlockNode> partsOf(const BlockNode& device, const Surroundings& machine)
{
    std::vector<BlockNode> parts;
    const std::vector<dev_t> partitions = machine.blocks.partitionsOf(device.number);
    for (const auto& [number, presented] : *machine.presented) {
        const bool isPartition = std::find(partitions.begin(), partitions.end(), number) != partitions.end();
        if (isPartition || presented.disk == device.path) {
            parts.push_back({presented.node, number});
        }
    }
    return parts.empty() ? std::vector<BlockNode>{device} : parts;
}

void requireExternal(const BlockNode& device, const Surroundings& machine)
{
    const PresentedDevice* presented = machine.presentedAs(device.number);
    if (presented == nullptr) {
        throw Refusal(device.path + " is not offered to the service, which has not mounted it");
    }
    if (presented->isInternal) {
        throw Refusal(device.path +
                      " is a drive of this machine, not a stick: the service keeps it mounted until "
                      "it ends");
    }
}

bool isPlaceOfService(const QByteArray& directory)
{
    const QByteArray root = ServicePaths::FinalRoot;
    return directory == root ||
           (MountInfo::isWithin(directory, root) && directory.lastIndexOf('/') == root.size());
}

/// What lies on it or in it would be lost, or hold it.
void requireNothingUpon(const Mount& mount, const Ejection& ejection, const Surroundings& machine)
{
    for (const Mount& other : machine.mounts) {
        const bool isEjected =
            std::any_of(ejection.devices.begin(), ejection.devices.end(),
                        [&](const BlockNode& device) { return isOf(other, device.number, machine); });
        if (other.parent == mount.id && (!isEjected || other.target != mount.target)) {
            throw Refusal(other.source.toStdString() + " is mounted " +
                          (other.target == mount.target ? "over it, at " : "on it, at ") +
                          other.target.toStdString() + ": unmount that first");
        }
    }
}

/// Later mounts lie on earlier ones.
void addMounts(Ejection& ejection, const BlockNode& device, const Surroundings& machine)
{
    for (auto mount = machine.mounts.rbegin(); mount != machine.mounts.rend(); ++mount) {
        if (!isOf(*mount, device.number, machine)) {
            continue;
        }
        if (mount->root != "/" || !isPlaceOfService(mount->target)) {
            throw Refusal(device.path + " is also mounted at " + mount->target.toStdString() +
                          ", not by the service: unmount that first");
        }
        requireNothingUpon(*mount, ejection, machine);
        ejection.mounts.push_back(*mount);
    }
}

bool isOnDiskOf(const BlockNode& device, dev_t number, const PresentedDevice& other,
                const Surroundings& machine)
{
    const PresentedDevice* presented = machine.presentedAs(device.number);
    const bool isPresentedSo =
        presented != nullptr && !presented->disk.empty() && presented->disk == other.disk;
    return isPresentedSo || (machine.blocks.isPartition(device.number) &&
                             machine.blocks.diskOf(device.number) == machine.blocks.diskOf(number));
}

void addOthers(Ejection& ejection, const Surroundings& machine)
{
    for (const auto& [number, presented] : *machine.presented) {
        const dev_t other = number;
        const auto isThis = [&](const BlockNode& device) { return device.number == other; };
        if (std::any_of(ejection.devices.begin(), ejection.devices.end(), isThis) ||
            !isOnDiskOf(ejection.devices.front(), number, presented, machine)) {
            continue;
        }
        for (const Mount& mount : machine.mounts) {
            if (isOf(mount, number, machine)) {
                ejection.others.push_back(presented.node + " at " + mount.target.toStdString());
            }
        }
    }
}

Ejection planned(const std::string& target, dev_t device, const Surroundings& machine)
{
    if (!machine.presented) {
        throw Refusal("the provider of devices does not answer: whether " + target +
                      " is a stick is not known");
    }
    const BlockNode node = device != 0 ? BlockNode{target, device} : deviceAt(target, machine);
    Ejection ejection;
    ejection.devices = partsOf(node, machine);
    for (const BlockNode& part : ejection.devices) {
        requireExternal(part, machine);
        addMounts(ejection, part, machine);
    }
    addOthers(ejection, machine);
    return ejection;
}

} // namespace

Ejection Ejection::of(const std::string& target, dev_t device, const Surroundings& machine)
{
    try {
        return planned(target, device, machine);
    } catch (const Refusal& refusal) {
        return {refusal.what(), {}, {}, {}};
    }
}
