#include "provider/udev/LibUdev.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <libudev.h>

namespace {

/// Room for the announcements of some thousand devices. The kernel takes memory only for those that wait.
constexpr int BufferSize = 16 << 20;

using Device = std::unique_ptr<udev_device, udev_device* (*)(udev_device*)>;
using Enumeration = std::unique_ptr<udev_enumerate, udev_enumerate* (*)(udev_enumerate*)>;

BlockDevice recordOf(udev_device* device)
{
    BlockDevice::Properties properties;
    for (udev_list_entry* entry = udev_device_get_properties_list_entry(device); entry != nullptr;
         entry = udev_list_entry_get_next(entry)) {
        properties.insert(udev_list_entry_get_name(entry), udev_list_entry_get_value(entry));
    }
    return BlockDevice(std::move(properties));
}

Udev::Event::Kind kindOf(udev_device* device)
{
    const QByteArray action = udev_device_get_action(device);
    if (action == "remove") {
        return Udev::Event::Kind::Gone;
    }
    return action == "add" ? Udev::Event::Kind::Came : Udev::Event::Kind::Changed;
}

} // namespace

std::vector<BlockDevice> Udev::devices() const
{
    std::vector<BlockDevice> result;
    for (const std::string& directory : directories()) {
        if (auto device = deviceIn(directory)) {
            result.push_back(std::move(*device));
        }
    }
    return result;
}

LibUdev::LibUdev()
    : _udev(udev_new(), &udev_unref)
    , _monitor(udev_monitor_new_from_netlink(_udev.get(), "udev"), &udev_monitor_unref)
    , _queue(udev_queue_new(_udev.get()), &udev_queue_unref)
{
    int error = -ENOMEM;
    if (_monitor) {
        udev_monitor_filter_add_match_subsystem_devtype(_monitor.get(), "block", nullptr);
        // Only root may; with the buffer that it has it works too, and losses are made good.
        udev_monitor_set_receive_buffer_size(_monitor.get(), BufferSize);
        error = udev_monitor_enable_receiving(_monitor.get());
    }
    if (error < 0) {
        throw std::runtime_error(std::string("cannot listen to udev: ") + strerror(-error));
    }
    _announcement =
        std::make_unique<QSocketNotifier>(udev_monitor_get_fd(_monitor.get()), QSocketNotifier::Read);
    connect(_announcement.get(), &QSocketNotifier::activated, this, &Udev::announced);
    watchQueue();
}

/// Without udev there is nothing to watch.
void LibUdev::watchQueue()
{
    const int descriptor = udev_queue_get_fd(_queue.get());
    if (descriptor < 0) {
        return;
    }
    _queueChange = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
    connect(_queueChange.get(), &QSocketNotifier::activated, this, [this] {
        udev_queue_flush(_queue.get());
        if (isIdle()) {
            Q_EMIT settled();
        }
    });
}

bool LibUdev::isRunning() const
{
    return udev_queue_get_udev_is_active(_queue.get()) != 0;
}

bool LibUdev::isIdle() const
{
    return udev_queue_get_queue_is_empty(_queue.get()) != 0;
}

std::vector<std::string> LibUdev::directories() const
{
    std::vector<std::string> result;
    const Enumeration enumeration(udev_enumerate_new(_udev.get()), &udev_enumerate_unref);
    udev_enumerate_add_match_subsystem(enumeration.get(), "block");
    udev_enumerate_scan_devices(enumeration.get());
    for (udev_list_entry* entry = udev_enumerate_get_list_entry(enumeration.get()); entry != nullptr;
         entry = udev_list_entry_get_next(entry)) {
        result.emplace_back(udev_list_entry_get_name(entry));
    }
    return result;
}

std::optional<BlockDevice> LibUdev::deviceIn(const std::string& directory) const
{
    const Device device(udev_device_new_from_syspath(_udev.get(), directory.c_str()), &udev_device_unref);
    return device ? std::make_optional(recordOf(device.get())) : std::nullopt;
}

Udev::Event LibUdev::receive()
{
    const Device device(udev_monitor_receive_device(_monitor.get()), &udev_device_unref);
    if (device) {
        return {kindOf(device.get()), recordOf(device.get())};
    }
    return {errno == ENOBUFS ? Event::Kind::Lost : Event::Kind::None, BlockDevice()};
}
