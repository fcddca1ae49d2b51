#pragma once

#include <memory>

#include <QSocketNotifier>

#include "provider/udev/Udev.h"

struct udev;
struct udev_monitor;
struct udev_queue;

/// The udev of this machine.
class LibUdev : public Udev
{
    Q_OBJECT

public:
    /// Listens from here on. Throws std::runtime_error.
    LibUdev();

    bool isRunning() const override;
    bool isIdle() const override;
    std::vector<std::string> directories() const override;
    std::optional<BlockDevice> deviceIn(const std::string& directory) const override;
    Event receive() override;

private:
    void watchQueue();

    std::unique_ptr<udev, udev* (*)(udev*)> _udev;
    std::unique_ptr<udev_monitor, udev_monitor* (*)(udev_monitor*)> _monitor;
    std::unique_ptr<udev_queue, udev_queue* (*)(udev_queue*)> _queue;
    std::unique_ptr<QSocketNotifier> _announcement;
    std::unique_ptr<QSocketNotifier> _queueChange;
};
