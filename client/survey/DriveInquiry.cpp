#include "client/survey/DriveInquiry.h"

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

DriveInquiry::DriveInquiry(MountedDrive drive, const std::optional<std::string>& knownNtfs, Ntfs ntfs)
    : _drive(std::move(drive))
    , _ntfs(knownNtfs)
{
    std::vector<Inquiry::Question> questions;
    const auto add = [&](Inquiry::Question question, Reader reader) {
        questions.push_back(std::move(question));
        _readers.push_back(reader);
    };
    if (isNode(_drive.device)) {
        add([&] { return Questions::askContent(_drive.device); }, &DriveInquiry::readContent);
    }
    if (!_drive.directory.empty()) {
        add([&] { return Questions::askSpace(_drive); }, &DriveInquiry::readSpace);
    }
    if (!_ntfs && ntfs == Ntfs::Asked && mayBeNtfsInTrouble(_drive)) {
        add([&] { return Questions::askNtfs(_drive.device); }, &DriveInquiry::readNtfs);
    }
    _inquiry = std::make_unique<Inquiry>(questions);
}

void DriveInquiry::collect(Inquiry::Clock::time_point end)
{
    const Inquiry::Answers answers = _inquiry->answers(end);
    for (std::size_t at = 0; at < answers.size(); ++at) {
        if (answers[at]) {
            (this->*_readers[at])(*answers[at]);
        }
    }
}

void DriveInquiry::readContent(const std::string& answer)
{
    _content = Questions::readContent(answer);
}

void DriveInquiry::readSpace(const std::string& answer)
{
    _space = Questions::readSpace(answer);
    _isDead = !_space;
}

void DriveInquiry::readNtfs(const std::string& answer)
{
    _ntfs = answer;
}
