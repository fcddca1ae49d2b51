#include "client/survey/Questions.h"

#include <cerrno>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/statvfs.h>

#include <QStringList>

#include "kernel/Descriptor.h"
#include "kernel/FileTree.h"
#include "kernel/Identification.h"
#include "kernel/Program.h"

namespace Questions {
namespace {

constexpr const char* DeadMount = "dead";

Identification identificationOf(const std::string& node)
{
    if (!std::filesystem::is_block_file(node)) {
        throw std::runtime_error("not a device");
    }
    return identify(node);
}

/// Whether `descriptor` is on the mount itself and not on one that hides it. A kernel that does not say is
/// believed.
bool isOnMount(int descriptor, int mountId)
{
    const std::optional<FileTree::Place> place = FileTree::look(descriptor);
    return place && (place->mountId == 0 || place->mountId == static_cast<std::uint64_t>(mountId));
}

/// The errors of a driver that has ended, and of a device that is gone.
bool isOfDeadMount(int error)
{
    return error == ENOTCONN || error == EIO;
}

} // namespace

std::string askContent(const std::string& node)
{
    try {
        const Identification found = identificationOf(node);
        const char separator = '\0';
        return found.usage.toStdString() + separator + found.type.toStdString() + separator +
               found.label.toStdString();
    } catch (const std::system_error& error) {
        if (error.code() == std::errc(ENOMEDIUM)) {
            return {};
        }
        throw;
    }
}

Content readContent(const std::string& answer)
{
    Content content;
    content.hasMedium = !answer.empty();
    std::istringstream parts(answer);
    std::getline(parts, content.usage, '\0');
    std::getline(parts, content.type, '\0');
    std::getline(parts, content.label, '\0');
    return content;
}

std::string askSpace(const MountedDrive& drive)
{
    const Descriptor place(open(drive.directory.c_str(), O_PATH | O_CLOEXEC));
    struct statvfs figures = {};
    errno = 0;
    if (isOnMount(place.get(), drive.mountId) && fstatvfs(place.get(), &figures) == 0) {
        return std::to_string(figures.f_blocks * figures.f_frsize) + ' ' +
               std::to_string(figures.f_bavail * figures.f_frsize);
    }
    if (isOfDeadMount(errno)) {
        return DeadMount;
    }
    throw std::runtime_error("no figures");
}

std::optional<Space> readSpace(const std::string& answer)
{
    if (answer == DeadMount) {
        return std::nullopt;
    }
    Space space;
    std::istringstream(answer) >> space.size >> space.free;
    return space;
}

std::string askNtfs(const std::string& node)
{
    if (identificationOf(node).type != QLatin1String("ntfs")) {
        throw std::runtime_error("not NTFS");
    }
    const std::optional<int> status = Program::run({"ntfs-3g.probe", "--readwrite", node});
    if (!status) {
        throw std::runtime_error("no answer");
    }
    return std::to_string(*status);
}

} // namespace Questions
