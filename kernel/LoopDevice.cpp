#include "kernel/LoopDevice.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <sys/sysmacros.h>

namespace {

constexpr unsigned LoopMajor = 7;
/// Somebody else may be quicker to take the device that is free; this often the next one is tried.
constexpr int Attempts = 64;

[[noreturn]] void fail(const std::string& what, int error)
{
    throw std::system_error(error, std::generic_category(), what);
}

dev_t freeNumber()
{
    const Descriptor control = openFile("/dev/loop-control", O_RDWR);
    const int number = ioctl(control.get(), LOOP_CTL_GET_FREE);
    const int error = errno;
    if (number < 0) {
        fail("no free loop device", error);
    }
    return makedev(LoopMajor, static_cast<unsigned>(number));
}

} // namespace

LoopDevice::LoopDevice(const std::string& image, const std::string& node)
{
    const Descriptor file = openFile(image, O_RDWR);
    for (int attempt = 0; attempt < Attempts; ++attempt) {
        if (attach(freeNumber(), file, node)) {
            return;
        }
    }
    fail("no free loop device", EBUSY);
}

/// The device is reached through the new node: a small /dev need not have the kernel's own nodes.
bool LoopDevice::attach(dev_t number, const Descriptor& image, const std::string& node)
{
    auto made = std::make_unique<DeviceNode>(node, number);
    Descriptor device = openFile(made->path(), O_RDWR);
    loop_config configuration{};
    configuration.fd = static_cast<__u32>(image.get());
    configuration.info.lo_flags = LO_FLAGS_AUTOCLEAR;
    const int error = ioctl(device.get(), LOOP_CONFIGURE, &configuration) == 0 ? 0 : errno;
    if (error != 0 && error != EBUSY) {
        fail("cannot attach " + node, error);
    }
    if (error == 0) {
        _node = std::move(made);
        _device = std::move(device);
    }
    return error == 0;
}
