#include "provider/today/TodaySource.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "provider/today/DeadMounts.h"

namespace {

using namespace std::chrono_literals;

/// The kernel announces the end of a device a moment before the device is gone from sysfs.
constexpr auto TakenDown = 250ms;

const Device* offeredIn(const Picture& picture, const QString& objectPath)
{
    const auto match = std::find_if(picture.begin(), picture.end(), [&](const Presentation& device) {
        return device.isOffered && device.shown.objectPath == objectPath;
    });
    return match != picture.end() ? &match->shown : nullptr;
}

bool contains(const Picture& picture, const QString& objectPath)
{
    return std::any_of(picture.begin(), picture.end(),
                       [&](const Presentation& device) { return device.shown.objectPath == objectPath; });
}

bool isSame(const Device& before, const Device& after)
{
    return before.properties == after.properties && before.missing == after.missing;
}

std::map<QString, QString> namesIn(const Picture& picture)
{
    std::map<QString, QString> result;
    for (const Presentation& device : picture) {
        if (!device.name.isEmpty()) {
            result.emplace(device.shown.objectPath, device.name);
        }
    }
    return result;
}

} // namespace

TodaySource::TodaySource(DeviceSource& source, Rules::Selection rules, BlockStack blocks,
                         std::string mountTable)
    : _source(source)
    , _rules(std::move(rules))
    , _blocks(std::move(blocks))
    , _mounts(std::move(mountTable))
{
    _secondLook.setSingleShot(true);
    _secondLook.setInterval(TakenDown);
    connect(&_secondLook, &QTimer::timeout, this, &TodaySource::takeAwayDeadMounts);
    connect(&source, &DeviceSource::ready, this, &TodaySource::begin);
    connect(&source, &DeviceSource::added, this, &TodaySource::come);
    connect(&source, &DeviceSource::changed, this, &TodaySource::change);
    connect(&source, &DeviceSource::removed, this, &TodaySource::go);
}

void TodaySource::start()
{
    _source.start();
}

std::vector<const Device*> TodaySource::devices() const
{
    std::vector<const Device*> result;
    for (const Presentation& device : _picture) {
        if (device.isOffered) {
            result.push_back(&device.shown);
        }
    }
    return result;
}

/// The medium is looked for once: the system cannot run from another one later.
void TodaySource::begin()
{
    takeAwayDeadMounts();
    _circumstances = Circumstances::of(_mounts.mounts(), _blocks, _source.devices());
    _picture = look();
    _circumstances.names = namesIn(_picture);
    _isReady = true;
    Q_EMIT ready();
}

void TodaySource::come(const QString& objectPath)
{
    if (_isReady) {
        takeAwayDeadMounts();
        update(look(), Event::Added, objectPath);
    }
}

void TodaySource::change(const QString& objectPath)
{
    if (_isReady) {
        update(look(), Event::Changed, objectPath);
    }
}

void TodaySource::go(const QString& objectPath)
{
    if (!_isReady) {
        return;
    }
    if (contains(_picture, objectPath)) {
        update(look(objectPath), Event::Removed, objectPath);
    } else {
        // It was pulled while no provider ran, and it is no longer known whether it was presented.
        Q_EMIT removed(objectPath);
    }
    takeAwayDeadMounts();
    _secondLook.start();
}

Picture TodaySource::look(const QString& except) const
{
    std::vector<const Device*> devices = _source.devices();
    const auto isExcepted = [&](const Device* device) { return device->objectPath == except; };
    devices.erase(std::remove_if(devices.begin(), devices.end(), isExcepted), devices.end());
    return Rules::present(devices, _rules, _circumstances);
}

void TodaySource::update(Picture now, Event event, const QString& objectPath)
{
    for (const Device* device : devices()) {
        if (offeredIn(now, device->objectPath) == nullptr) {
            Q_EMIT removed(device->objectPath);
        }
    }
    const Picture before = std::exchange(_picture, std::move(now));
    _circumstances.names = namesIn(_picture);
    for (const Device* device : devices()) {
        const bool isMeant = device->objectPath == objectPath;
        // A device that was plugged in while no provider ran is part of the first picture already, and is
        // announced all the same.
        if (isMeant && event == Event::Added) {
            Q_EMIT added(device->objectPath);
        } else {
            announceDifference(before, *device, isMeant);
        }
    }
}

void TodaySource::announceDifference(const Picture& before, const Device& device, bool isChanged)
{
    const Device* known = offeredIn(before, device.objectPath);
    if (known == nullptr && contains(before, device.objectPath)) {
        Q_EMIT added(device.objectPath);
    } else if (known != nullptr && (isChanged || !isSame(*known, device))) {
        Q_EMIT changed(device.objectPath);
    }
}

void TodaySource::takeAwayDeadMounts()
{
    if (Rules::contains(_rules, DeadMounts::Word)) {
        for (const QString& line : DeadMounts::takeAway(DeadMounts::among(_mounts.mounts(), _blocks))) {
            Q_EMIT noted(line);
        }
    }
}
