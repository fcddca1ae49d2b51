#include "client/eject/DriverEnds.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

bool isDriver(const fs::path& process)
{
    std::string name;
    std::getline(std::ifstream(process / "comm"), name);
    return name.find("ntfs") != std::string::npos;
}

/// The driver's own descriptors: nothing there lies on a file system that hangs.
bool holdsOne(const fs::path& process, const std::vector<BlockNode>& devices)
{
    std::error_code failure;
    for (fs::directory_iterator file(process / "fd", failure), end; !failure && file != end;
         file.increment(failure)) {
        const dev_t number = BlockNodes::numberOf(file->path());
        if (std::any_of(devices.begin(), devices.end(),
                        [&](const BlockNode& device) { return number != 0 && device.number == number; })) {
            return true;
        }
    }
    return false;
}

Descriptor handleOf(const fs::path& process)
{
    return Descriptor(static_cast<int>(syscall(SYS_pidfd_open, std::stoi(process.filename()), 0)));
}

} // namespace

DriverEnds::DriverEnds(const std::vector<BlockNode>& devices)
{
    std::error_code failure;
    for (fs::directory_iterator entry("/proc", failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const std::string name = entry->path().filename();
        const bool isProcess = name.find_first_not_of("0123456789") == std::string::npos;
        if (isProcess && isDriver(entry->path()) && holdsOne(entry->path(), devices)) {
            _drivers.push_back(handleOf(entry->path()));
        }
    }
}

bool DriverEnds::come(std::chrono::milliseconds bound) const
{
    const auto end = Clock::now() + bound;
    return std::all_of(_drivers.begin(), _drivers.end(), [&](const Descriptor& driver) {
        pollfd event{driver.get(), POLLIN, 0};
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        return !driver.isOpen() || poll(&event, 1, std::max(0, static_cast<int>(left.count()))) > 0;
    });
}
