#include "tests/system/SystemTest.h"

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>

#include <sys/mount.h>

#include <QStandardPaths>

#include "tests/support/KernelMounts.h"

namespace {

bool canOpen(const char* path)
{
    return std::fstream(path, std::ios::in | std::ios::out | std::ios::binary).is_open();
}

/// The prerequisite of the system tests that this machine lacks, or an empty text.
std::string missingPrerequisite()
{
    const auto root = KernelMounts::at("/");
    if (!root || root->source != "sandbox") {
        return "this runs only in tests/support/sandbox";
    }
    if (!canOpen("/dev/loop-control")) {
        return "no loop devices here (/dev/loop-control)";
    }
    if (!canOpen("/dev/fuse")) {
        return "no FUSE here (/dev/fuse)";
    }
    for (const char* tool : {"dbus-daemon", "ntfs-3g", "mkfs.ntfs", "mkfs.ext4"}) {
        if (QStandardPaths::findExecutable(QLatin1String(tool)).isEmpty()) {
            return std::string(tool) + " is not installed";
        }
    }
    return {};
}

bool isWrittenAtEveryStart(const std::string& message)
{
    const std::array<std::string, 3> beginnings = {
        "\"Application argument: ", "\"Set default log level: ", "Drives file NOT found!"};
    return std::any_of(beginnings.begin(), beginnings.end(), [&](const std::string& beginning) {
        return message.compare(0, beginning.size(), beginning) == 0;
    });
}

/// With its level in front when that is another one than warning.
std::vector<std::string> unusualWarnings()
{
    std::vector<std::string> result;
    for (int level = Vorna::Fatal; level <= Vorna::Warning; ++level) {
        const std::string prefix = level == Vorna::Warning ? "" : "at level " + std::to_string(level) + ": ";
        for (const std::string& message : ServiceLog::messages(level)) {
            if (!isWrittenAtEveryStart(message)) {
                result.push_back(prefix + message);
            }
        }
    }
    return result;
}

} // namespace

void SystemTest::SetUp()
{
    if (const std::string reason = missingPrerequisite(); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    _bus = std::make_unique<PrivateBus>();
}

void SystemTest::TearDown()
{
    if (!IsSkipped()) {
        EXPECT_THAT(unusualWarnings(), testing::UnorderedElementsAreArray(_announced));
    }
}

void SystemTest::mountForeign(const std::string& directory)
{
    std::filesystem::create_directories(directory);
    ASSERT_EQ(mount("foreign", directory.c_str(), "tmpfs", 0, ""), 0);
}

void MachineTest::start(const std::vector<std::string>& arguments, const Process::Environment& environment)
{
    machine.start();
    startService(arguments, environment);
}

void MachineTest::startService(const std::vector<std::string>& arguments,
                               const Process::Environment& environment)
{
    _service = std::make_unique<Service>(arguments, environment);
    ASSERT_TRUE(_service->isReady()) << _service->output();
}

void MachineTest::stop()
{
    EXPECT_EQ(_service->stop(SIGTERM), 0) << _service->output();
}
