#include "client/survey/FactFinding.h"

#include <algorithm>

#include <QByteArray>

#include "interfaces/ScsiDisks.h"
#include "interfaces/ServicePaths.h"
#include "kernel/FileSystemDrivers.h"
#include "kernel/Program.h"

namespace {

using Presentation = DriveFacts::Presentation;

bool hasDriver(const std::string& type)
{
    return type == "ntfs" ? Program::isInstalled("ntfs-3g") : FileSystemDrivers::contain(type);
}

bool isOnItsDisk(dev_t number, const Surroundings& machine)
{
    return machine.medium.disks.contains(machine.blocks.kernelName(machine.blocks.diskOf(number)));
}

void addKernelsView(DriveFacts& facts, const MountedDrive& drive, const Surroundings& machine)
{
    facts.node = drive.device;
    facts.isPartition = machine.blocks.isPartition(drive.number);
    facts.isWriteProtected = machine.blocks.isReadOnly(drive.number);
    facts.isRescueMedium = machine.medium.devices.count(drive.number) != 0;
    facts.service = machine.service.stage;
    const Mount* root = MountInfo::holding(ServicePaths::TemporaryRoot, machine.mounts);
    facts.isTemporaryRootShared = root != nullptr && root->isShared;
}

void addContent(DriveFacts& facts, const DriveInquiry& inquiry, const PresentedDevice* presented)
{
    if (const auto& content = inquiry.content()) {
        facts.usage = content->usage;
        facts.type = content->type;
    } else if (presented != nullptr) {
        facts.usage = presented->usage;
        facts.type = presented->type;
    }
    facts.isIdentified = inquiry.content() || presented != nullptr;
    facts.isLate = inquiry.isLate();
    facts.isDead = inquiry.isDead();
    facts.hasDriver = facts.usage != "filesystem" || hasDriver(facts.type);
    if (inquiry.ntfs()) {
        facts.ntfs = std::stoi(*inquiry.ntfs());
    }
}

/// Where the service would mount it.
std::string placeOf(const PresentedDevice& device)
{
    constexpr std::size_t PrefixLength = 5; // "/dev/"
    if (device.isInternal || device.usage != "filesystem") {
        return ServicePaths::TemporaryRoot + std::string("/") +
               device.node.substr(std::min(PrefixLength, device.node.size()));
    }
    return ServicePaths::FinalRoot + std::string("/") + (device.label.empty() ? device.uuid : device.label);
}

void addPlace(DriveFacts& facts, const PresentedDevice& device, const Surroundings& machine)
{
    facts.place = placeOf(device);
    for (const MountedDrive& other : machine.drives) {
        if (other.directory == facts.place) {
            facts.placeTakenBy = other.device;
        }
    }
}

void addProvidersView(DriveFacts& facts, const PresentedDevice& device, const Surroundings& machine)
{
    facts.presentation = device.isInternal ? Presentation::Internal : Presentation::External;
    facts.isPartition = device.isPartition;
    facts.partitionType = device.partitionType;
    facts.getsLetter = device.majorNumber == ScsiDisks::FirstMajor;
    facts.isLater = machine.service.since != 0 && device.detected > machine.service.since;
    addPlace(facts, device, machine);
}

void addMount(DriveFacts& facts, const MountedDrive& drive, const Surroundings& machine)
{
    facts.directory = drive.directory;
    facts.isReadOnly = drive.readOnly;
    for (auto other = machine.drives.rbegin(); other != machine.drives.rend(); ++other) {
        if (other->mountId == drive.mountId) {
            return;
        }
        if (other->directory == drive.directory && facts.coveredBy.empty()) {
            facts.coveredBy = other->device;
        }
    }
}

void addOtherMounts(DriveFacts& facts, dev_t number, const Surroundings& machine)
{
    for (const Mount& mount : machine.mounts) {
        if (mount.number == number && facts.elsewhere.empty()) {
            facts.elsewhere = mount.target.toStdString();
        }
    }
}

} // namespace

DriveFacts factsOf(const DriveInquiry& inquiry, const Surroundings& surroundings)
{
    const MountedDrive& drive = inquiry.drive();
    const PresentedDevice* presented = surroundings.presentedAs(drive.number);
    DriveFacts facts;
    addKernelsView(facts, drive, surroundings);
    addContent(facts, inquiry, presented);
    if (presented != nullptr) {
        addProvidersView(facts, *presented, surroundings);
    } else if (surroundings.presented) {
        facts.presentation = Presentation::None;
        facts.isRescueMedium = facts.isRescueMedium || isOnItsDisk(drive.number, surroundings);
    }
    if (!drive.directory.empty()) {
        addMount(facts, drive, surroundings);
    } else {
        addOtherMounts(facts, drive.number, surroundings);
    }
    return facts;
}
