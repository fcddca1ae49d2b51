#include "client/ListedDrive.h"

#include <filesystem>
#include <memory>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <QByteArray>

#include "client/Inquiry.h"
#include "kernel/FileTree.h"
#include "kernel/Identification.h"

namespace ListedDrives {
namespace {

namespace fs = std::filesystem;

// --- asked in a process of its own: each ends with that process, and so does what it opens ---

/// Whether `descriptor` is on the mount itself and not on one that hides it. A kernel that does not say is
/// believed.
bool isOnMount(int descriptor, int mountId)
{
    const std::optional<FileTree::Place> place = FileTree::look(descriptor);
    return place && (place->mountId == 0 || place->mountId == static_cast<std::uint64_t>(mountId));
}

std::string askSpace(const MountedDrive& drive)
{
    const int descriptor = open(drive.directory.c_str(), O_PATH | O_CLOEXEC);
    struct statvfs figures = {};
    if (!isOnMount(descriptor, drive.mountId) || fstatvfs(descriptor, &figures) != 0) {
        throw std::runtime_error("no figures");
    }
    return std::to_string(figures.f_blocks * figures.f_frsize) + ' ' +
           std::to_string(figures.f_bavail * figures.f_frsize);
}

std::string askLabel(const std::string& device)
{
    if (!fs::is_block_file(device)) {
        return {};
    }
    return identify(device).label.toStdString();
}

// ----------------------------------------------------------------------------------------------

std::optional<Space> readSpace(const std::optional<std::string>& figures)
{
    if (!figures) {
        return std::nullopt;
    }
    Space space;
    std::istringstream(*figures) >> space.size >> space.free;
    return space;
}

/// Undoes the "\x20" of the names below /dev/disk, in which no percent sign stands for itself.
std::string decoded(const std::string& name)
{
    const QByteArray percents = QByteArray::fromStdString(name).replace("\\x", "%");
    return QByteArray::fromPercentEncoding(percents).toStdString();
}

/// The label that the device manager knows, for users who may not read the device. An image lies on a file
/// system that may hang, and is not looked at here.
std::string announcedLabel(const std::string& device)
{
    if (device.rfind("/dev/", 0) != 0) {
        return {};
    }
    std::error_code error;
    const fs::path node = fs::canonical(device, error);
    for (fs::directory_iterator link("/dev/disk/by-label", error), end; !error && link != end;
         link.increment(error)) {
        std::error_code dangling;
        if (fs::canonical(link->path(), dangling) == node && !dangling) {
            return decoded(link->path().filename());
        }
    }
    return {};
}

class Inquiries
{
public:
    explicit Inquiries(const MountedDrive& drive)
        : _drive(drive)
        , _space([&] { return askSpace(drive); })
        , _label([&] { return askLabel(drive.device); })
    {
    }

    ListedDrive answers(Inquiry::Clock::time_point end)
    {
        return {_drive, label(end), readSpace(_space.answer(end))};
    }

private:
    std::string label(Inquiry::Clock::time_point end)
    {
        const std::string label = _label.answer(end).value_or("");
        return label.empty() ? announcedLabel(_drive.device) : label;
    }

    MountedDrive _drive;
    Inquiry _space;
    Inquiry _label;
};

} // namespace

std::vector<ListedDrive> inquire(const std::vector<MountedDrive>& drives, std::chrono::milliseconds bound)
{
    const auto end = Inquiry::Clock::now() + bound;
    std::vector<std::unique_ptr<Inquiries>> all;
    all.reserve(drives.size());
    for (const MountedDrive& drive : drives) {
        all.push_back(std::make_unique<Inquiries>(drive));
    }
    std::vector<ListedDrive> result;
    result.reserve(drives.size());
    for (const auto& inquiries : all) {
        result.push_back(inquiries->answers(end));
    }
    return result;
}

} // namespace ListedDrives
