#include "client/survey/Survey.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <regex>

#include <unistd.h>

#include <QByteArray>

#include "client/survey/FactFinding.h"

namespace {

namespace fs = std::filesystem;

/// Of these a drive has more; extended partitions and empty slots have less.
constexpr quint64 SmallestDrive = 8192; // bytes

/// Loop devices, compressed memory and RAM disks are no drives of the machine.
bool isInMemory(const std::string& node)
{
    static const std::regex names("/dev/(loop|zram|ram)[0-9].*");
    return std::regex_match(node, names);
}

bool isListed(const BlockNode& node, const Surroundings& machine)
{
    const bool isMounted = std::any_of(machine.drives.begin(), machine.drives.end(),
                                       [&](const MountedDrive& one) { return one.number == node.number; });
    return !isMounted && !isInMemory(node.path) && machine.blocks.bytesOf(node.number) >= SmallestDrive &&
           machine.blocks.partitionsOf(node.number).empty();
}

MountedDrive unmounted(const BlockNode& node)
{
    MountedDrive drive;
    drive.device = node.path;
    drive.root = "/";
    drive.number = node.number;
    return drive;
}

std::vector<MountedDrive> drivesOf(const Surroundings& machine)
{
    std::vector<MountedDrive> result = machine.drives;
    for (const BlockNode& node : BlockNodes::in()) {
        if (isListed(node, machine)) {
            result.push_back(unmounted(node));
        }
    }
    return result;
}

/// Undoes the "\x20" of the names below /dev/disk, in which no percent sign stands for itself.
std::string decoded(const std::string& name)
{
    const QByteArray percents = QByteArray::fromStdString(name).replace("\\x", "%");
    return QByteArray::fromPercentEncoding(percents).toStdString();
}

/// The label that the device manager knows, for users who may not read the device.
std::string announcedLabel(const MountedDrive& drive)
{
    std::error_code error;
    for (fs::directory_iterator link("/dev/disk/by-label", error), end; !error && link != end;
         link.increment(error)) {
        if (drive.number != 0 && BlockNodes::numberOf(link->path()) == drive.number) {
            return decoded(link->path().filename());
        }
    }
    return {};
}

std::string labelOf(const DriveInquiry& inquiry, const PresentedDevice* presented)
{
    if (inquiry.content() && !inquiry.content()->label.empty()) {
        return inquiry.content()->label;
    }
    if (presented != nullptr && !presented->label.empty()) {
        return presented->label;
    }
    return announcedLabel(inquiry.drive());
}

/// The kernel names a driver in user space, not what that drives.
std::string typeOf(const MountedDrive& drive, const DriveFacts& facts)
{
    const bool isKernels = !drive.type.empty() && drive.type.rfind("fuse", 0) != 0;
    return isKernels || facts.type.empty() ? drive.type : facts.type;
}

ListedDrive listed(const DriveInquiry& inquiry, const Surroundings& machine)
{
    const MountedDrive& drive = inquiry.drive();
    const DriveFacts facts = factsOf(inquiry, machine);
    const bool isWhole = drive.root == "/" && drive.number != 0;
    return {drive,
            typeOf(drive, facts),
            labelOf(inquiry, machine.presentedAs(drive.number)),
            inquiry.space(),
            machine.blocks.bytesOf(drive.number),
            isWhole ? Notes::on(facts) : std::nullopt};
}

/// What is only known when everybody has answered: an empty drive, or a disk whose partitions are listed.
bool isNoDrive(const DriveInquiry& inquiry, const Surroundings& machine)
{
    const MountedDrive& drive = inquiry.drive();
    const PresentedDevice* presented = machine.presentedAs(drive.number);
    const bool isEmpty = (inquiry.content() && !inquiry.content()->hasMedium) ||
                         (presented != nullptr && presented->size == 0);
    return drive.directory.empty() && (isEmpty || machine.isDivided({drive.device, drive.number}));
}

std::vector<std::string> gapsIn(const Survey& survey)
{
    std::vector<std::string> gaps;
    if (!survey.surroundings.presented) {
        gaps.emplace_back(
            "the provider of devices does not answer: which drives are internal, and which get a "
            "letter, is not known");
    }
    if (geteuid() != 0) {
        gaps.emplace_back("only root may ask the disks themselves: notes on their content may be missing");
    }
    return gaps;
}

} // namespace

Surveyor::Surveyor(std::string socket, std::chrono::milliseconds bound)
    : _socket(std::move(socket))
    , _bound(bound)
{
}

Surveyor::Inquiries Surveyor::inquiriesIn(const Surroundings& machine)
{
    const bool isArranging = machine.service.stage == ServiceState::Stage::Arranging;
    const auto ntfs = isArranging ? DriveInquiry::Ntfs::Left : DriveInquiry::Ntfs::Asked;
    Inquiries inquiries;
    for (MountedDrive& drive : drivesOf(machine)) {
        const std::optional<std::string> known = _ntfs[drive.device];
        inquiries.push_back(std::make_unique<DriveInquiry>(std::move(drive), known, ntfs));
    }
    return inquiries;
}

Survey Surveyor::look()
{
    const auto end = Inquiry::Clock::now() + _bound;
    Inquiry provider(&Provider::ask);
    Survey survey{{}, Surroundings::look(_socket), {}};
    const Inquiries inquiries = inquiriesIn(survey.surroundings);
    if (const auto answer = provider.answer(end)) {
        survey.surroundings.takeAnswer(*answer);
    }
    for (const auto& inquiry : inquiries) {
        inquiry->collect(end);
        _ntfs[inquiry->drive().device] = inquiry->ntfs();
        if (!isNoDrive(*inquiry, survey.surroundings)) {
            survey.drives.push_back(listed(*inquiry, survey.surroundings));
        }
    }
    survey.gaps = gapsIn(survey);
    return survey;
}
