#include "tests/client/MountedImages.h"

#include <filesystem>
#include <fstream>

#include <sys/mount.h>

#include <QStandardPaths>

#include "tests/support/KernelMounts.h"
#include "tests/support/Process.h"
#include "tests/support/WaitFor.h"

namespace fs = std::filesystem;

namespace {

std::string missingPrerequisite()
{
    const auto root = KernelMounts::at("/");
    if (!root || root->source != "sandbox") {
        return "this runs only in tests/support/sandbox";
    }
    for (const char* device : {"/dev/loop-control", "/dev/fuse"}) {
        if (!std::fstream(device, std::ios::in | std::ios::out | std::ios::binary).is_open()) {
            return std::string("cannot open ") + device;
        }
    }
    for (const char* tool : {"ntfs-3g", "mkfs.ntfs", "mkfs.ext4"}) {
        if (QStandardPaths::findExecutable(QLatin1String(tool)).isEmpty()) {
            return std::string(tool) + " is not installed";
        }
    }
    return {};
}

/// Loop devices belong to the whole machine: another program may be quicker to take the free one.
ProcessResult mounted(const std::vector<std::string>& command)
{
    ProcessResult result;
    waitFor(
        [&] {
            result = runProgram(command);
            return result.status == 0 || result.output.find("loop device") == std::string::npos;
        },
        std::chrono::seconds(20));
    return result;
}

std::string nameOf(const fs::path& process)
{
    std::ifstream file(process / "comm");
    std::string name;
    std::getline(file, name);
    return name;
}

} // namespace

void MountedImagesTest::SetUp()
{
    if (const std::string reason = missingPrerequisite(); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
}

void MountedImagesTest::TearDown()
{
    for (auto directory = _directories.rbegin(); directory != _directories.rend(); ++directory) {
        umount2(directory->c_str(), MNT_DETACH);
    }
}

void MountedImagesTest::mount(std::vector<std::string> arguments, const std::string& directory)
{
    fs::create_directories(directory);
    arguments.insert(arguments.begin(), "mount");
    arguments.push_back(directory);
    const ProcessResult result = mounted(arguments);
    if (result.status != 0) {
        throw std::runtime_error(result.output);
    }
    _directories.push_back(directory);
}

pid_t MountedImagesTest::ntfsDriver()
{
    pid_t driver = 0;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string name = nameOf(entry.path());
        if (name == "ntfs-3g" || name == "mount.ntfs-3g" || name == "mount.ntfs") {
            driver = std::max(driver, std::stoi(entry.path().filename()));
        }
    }
    if (driver == 0) {
        throw std::runtime_error("no ntfs-3g runs");
    }
    return driver;
}
