#pragma once

#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include <QTimer>

#include "provider/DeviceSource.h"
#include "provider/udev/DeviceReader.h"
#include "provider/udev/LastState.h"

/// The block devices of this machine, sorted by their place in it.
///
/// udev announces a device when its rules have run, so every device is identified when it is announced here.
/// A device that is there at the start is shown when udev has processed it, or when `patience` is over.
///
/// Whatever is lost on the way (udev's announcements, or the time in which nobody listened, between two runs)
/// is made good by looking at all devices again: the difference is announced.
class UdevSource : public DeviceSource
{
    Q_OBJECT

public:
    static constexpr std::chrono::seconds DefaultPatience{60};
    /// How long udev has to be idle before all devices are looked at again: not while a stick is being
    /// plugged. The kernel waits a second between a stick and its disk.
    static constexpr std::chrono::seconds DefaultCalm{3};

    explicit UdevSource(std::unique_ptr<Udev> udev, Sysfs sysfs = Sysfs(), LastState lastState = LastState(),
                        std::chrono::milliseconds patience = DefaultPatience,
                        std::chrono::milliseconds calm = DefaultCalm);

    void start() override;
    std::vector<const Device*> devices() const override;

Q_SIGNALS:
    /// Something about udev that the user should know: a line for standard error.
    void noted(const QString& text);

private:
    enum class Phase
    {
        Waiting,  ///< for udev
        Starting, ///< ready; what was missed is not announced yet
        Following,
    };
    void showWhenSettled();
    void showAfterAll();
    void show(const std::vector<BlockDevice>& blocks);
    void announceMissed();
    void announceSince(const std::vector<AnnouncedDevice>& last);

    void follow();
    void awaitCalm();
    bool handle(const Udev::Event& event);
    void lookAround();
    void lookAtNext();
    void lookAt(const std::string& directory);
    void saveState();

    void settle(const BlockDevice& block, bool isChange);
    static bool isReplaced(const ShownDevice& before, const ShownDevice& now, bool isChange);
    void add(const ShownDevice& device);
    void update(const ShownDevice& now, bool isChange);
    void remove(const QString& objectPath);
    void removePartitionsOf(const BlockDevice& disk);
    void refresh(const QStringList& objectPaths);

    std::unique_ptr<Udev> _udev;
    DeviceReader _reader;
    LastState _lastState;
    QTimer _patience;
    QTimer _calm;
    QTimer _look;
    std::deque<std::string> _toLookAt; ///< directories of devices
    Phase _phase = Phase::Waiting;
    ShownDevices _shown;
};
