#include "client/DriveInquiry.h"

namespace {

/// An image lies on a file system that may hang, and is not looked at.
bool isNode(const std::string& device)
{
    return device.rfind("/dev/", 0) == 0;
}

/// Mounted and writable volumes need no question: the driver has taken them.
bool mayBeNtfsInTrouble(const MountedDrive& drive)
{
    const bool isMounted = !drive.directory.empty();
    return isNode(drive.device) && (!isMounted || (drive.readOnly && drive.type == "fuseblk"));
}

} // namespace

DriveInquiry::DriveInquiry(MountedDrive drive, const std::optional<std::string>& knownNtfs)
    : _drive(std::move(drive))
    , _ntfs(knownNtfs)
{
    if (isNode(_drive.device)) {
        _contentInquiry = std::make_unique<Inquiry>([&] { return Questions::askContent(_drive.device); });
    }
    if (!_drive.directory.empty()) {
        _spaceInquiry = std::make_unique<Inquiry>([&] { return Questions::askSpace(_drive); });
    }
    if (!_ntfs && mayBeNtfsInTrouble(_drive)) {
        _ntfsInquiry = std::make_unique<Inquiry>([&] { return Questions::askNtfs(_drive.device); });
    }
}

void DriveInquiry::collect(Inquiry::Clock::time_point end)
{
    if (const auto content = answer(_contentInquiry, end)) {
        _content = Questions::readContent(*content);
    }
    if (const auto space = answer(_spaceInquiry, end)) {
        _space = Questions::readSpace(*space);
        _isDead = !_space;
    }
    if (const auto ntfs = answer(_ntfsInquiry, end)) {
        _ntfs = ntfs;
    }
}

std::optional<std::string> DriveInquiry::answer(const std::unique_ptr<Inquiry>& inquiry,
                                                Inquiry::Clock::time_point end)
{
    std::optional<std::string> result = inquiry ? inquiry->answer(end) : std::nullopt;
    _isLate = _isLate || (inquiry && inquiry->isLate());
    return result;
}
