#include "provider/udev/UdevSource.h"

#include <algorithm>

#include "interfaces/ObjectPath.h"

namespace {

bool differs(const Device& before, const Device& now)
{
    return before.properties != now.properties || before.partitionAttributes != now.partitionAttributes;
}

bool hasMedium(const Device& device)
{
    return device.properties.value(QStringLiteral("DeviceSize")).toULongLong() != 0;
}

QString objectPathOf(const std::string& directory)
{
    return ObjectPath::ofDevice(QByteArray::fromStdString(directory.substr(directory.rfind('/') + 1)));
}

/// Whether `devices` hold this one, and not another under its name.
bool holds(const std::vector<AnnouncedDevice>& devices, const AnnouncedDevice& device)
{
    return std::any_of(devices.begin(), devices.end(), [&](const AnnouncedDevice& other) {
        return other.objectPath == device.objectPath && !other.isReplacedBy(device);
    });
}

} // namespace

UdevSource::UdevSource(std::unique_ptr<Udev> udev, Sysfs sysfs, LastState lastState,
                       std::chrono::milliseconds patience, std::chrono::milliseconds calm)
    : _udev(std::move(udev))
    , _reader(*_udev, std::move(sysfs))
    , _lastState(std::move(lastState))
{
    _patience.setSingleShot(true);
    _patience.setInterval(patience);
    connect(&_patience, &QTimer::timeout, this, &UdevSource::showAfterAll);
    _calm.setSingleShot(true);
    _calm.setInterval(calm);
    connect(&_calm, &QTimer::timeout, this, &UdevSource::lookAround);
    connect(&_look, &QTimer::timeout, this, &UdevSource::lookAtNext);
    connect(_udev.get(), &Udev::announced, this, &UdevSource::follow);
    connect(_udev.get(), &Udev::settled, this, &UdevSource::awaitCalm);
}

std::vector<const Device*> UdevSource::devices() const
{
    return _shown.devices();
}

// --- what is there at the start

void UdevSource::start()
{
    if (!_udev->isRunning()) {
        Q_EMIT noted(
            QStringLiteral("udev does not run: the devices are not identified, and none is announced"));
        show(_udev->devices());
        return;
    }
    _patience.start();
    showWhenSettled();
}

void UdevSource::showWhenSettled()
{
    if (!_udev->isIdle()) {
        return;
    }
    const std::vector<BlockDevice> blocks = _udev->devices();
    if (_reader.unfinished(blocks).isEmpty()) {
        show(blocks);
    }
}

void UdevSource::showAfterAll()
{
    const std::vector<BlockDevice> blocks = _udev->devices();
    const QStringList names = _reader.unfinished(blocks);
    Q_EMIT noted(QStringLiteral("udev has not settled in %1 s; not shown until it has dealt with them: %2")
                     .arg(QString::number(_patience.interval() / 1000),
                          names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "))));
    show(blocks);
}

void UdevSource::show(const std::vector<BlockDevice>& blocks)
{
    _patience.stop();
    for (const BlockDevice& block : blocks) {
        if (const std::optional<ShownDevice> device = _reader.read(block)) {
            _shown.put(*device);
        }
    }
    _phase = Phase::Starting;
    Q_EMIT ready();
    // Behind whatever was queued by those who wait for `ready`: they take the bus name first.
    QMetaObject::invokeMethod(this, &UdevSource::announceMissed, Qt::QueuedConnection);
}

void UdevSource::announceMissed()
{
    if (const auto last = _lastState.read()) {
        announceSince(*last);
    }
    _phase = Phase::Following;
    follow();
}

void UdevSource::announceSince(const std::vector<AnnouncedDevice>& last)
{
    const std::vector<AnnouncedDevice> now = _shown.announced();
    for (auto before = last.rbegin(); before != last.rend(); ++before) {
        if (!holds(now, *before)) {
            Q_EMIT removed(before->objectPath);
        }
    }
    for (const AnnouncedDevice& device : now) {
        if (!holds(last, device)) {
            Q_EMIT added(device.objectPath);
        }
    }
}

// --- what comes, changes and goes

/// One event at a time: what is asked meanwhile is answered before the next.
void UdevSource::follow()
{
    if (_phase == Phase::Following) {
        handle(_udev->receive());
        saveState();
    } else if (_phase == Phase::Waiting) {
        while (handle(_udev->receive())) {
        }
        showWhenSettled();
    }
}

void UdevSource::awaitCalm()
{
    follow();
    _calm.start();
}

/// Whether there may be another event.
bool UdevSource::handle(const Udev::Event& event)
{
    if (event.kind == Udev::Event::Kind::None) {
        return false;
    }
    if (_phase == Phase::Waiting) {
        return true;
    }
    if (event.kind == Udev::Event::Kind::Lost) {
        lookAround();
    } else if (event.kind == Udev::Event::Kind::Gone) {
        remove(event.device.objectPath());
    } else {
        settle(event.device, event.kind == Udev::Event::Kind::Changed);
    }
    return true;
}

/// Shows what announcements did not: what was lost with udev's crash or in a full buffer, and partitions that
/// the kernel kept while their card was out. A device that has gone is removed before any other is announced.
void UdevSource::lookAround()
{
    if (_phase != Phase::Following) {
        return;
    }
    const std::vector<std::string> directories = _udev->directories();
    QSet<QString> present;
    for (const std::string& directory : directories) {
        present.insert(objectPathOf(directory));
    }
    for (const AnnouncedDevice& device : _shown.announced()) {
        if (!present.contains(device.objectPath)) {
            remove(device.objectPath);
        }
    }
    saveState();
    _toLookAt.assign(directories.begin(), directories.end());
    _look.start();
}

/// One device at a time, after udev's events.
void UdevSource::lookAtNext()
{
    if (handle(_udev->receive())) {
        saveState();
    } else if (_toLookAt.empty()) {
        _look.stop();
    } else {
        lookAt(_toLookAt.front());
        _toLookAt.pop_front();
        saveState();
    }
}

void UdevSource::lookAt(const std::string& directory)
{
    const std::optional<BlockDevice> block = _udev->deviceIn(directory);
    const ShownDevice* known = _shown.find(objectPathOf(directory));
    if (!block) {
        remove(objectPathOf(directory));
    } else if (known == nullptr || !_reader.isUnchanged(*known, *block)) {
        settle(*block, false);
    }
}

void UdevSource::saveState()
{
    _lastState.write(_shown.announced());
}

/// The one way from udev's device to a shown one.
void UdevSource::settle(const BlockDevice& block, bool isChange)
{
    const std::optional<ShownDevice> now = _reader.read(block);
    const ShownDevice* known = _shown.find(block.objectPath());
    if (known != nullptr && (!now || isReplaced(*known, *now, isChange))) {
        remove(block.objectPath());
        known = nullptr;
    }
    if (now && known != nullptr) {
        update(*now, isChange);
    } else if (now) {
        add(*now);
    }
}

/// A change for udev may be one of the content or of the medium.
bool UdevSource::isReplaced(const ShownDevice& before, const ShownDevice& now, bool isChange)
{
    AnnouncedDevice known = before.announced();
    if (isChange) {
        known.identity.remove(AnnouncedDevice::Content);
    }
    return known.isReplacedBy(now.announced());
}

void UdevSource::add(const ShownDevice& device)
{
    _shown.put(device);
    Q_EMIT added(device.path());
    refresh(device.shown.device.basis);
}

void UdevSource::update(const ShownDevice& now, bool isChange)
{
    const Device before = _shown.find(now.path())->shown.device;
    _shown.put(now);
    if (hasMedium(before) && !hasMedium(now.shown.device)) {
        removePartitionsOf(now.block);
    }
    if (isChange || differs(before, now.shown.device)) {
        Q_EMIT changed(now.path());
    }
}

void UdevSource::remove(const QString& objectPath)
{
    const ShownDevice* known = _shown.find(objectPath);
    if (known == nullptr) {
        return;
    }
    const ShownDevice gone = *known;
    removePartitionsOf(gone.block);
    Q_EMIT removed(objectPath);
    _shown.remove(objectPath);
    refresh(gone.shown.device.basis);
}

void UdevSource::removePartitionsOf(const BlockDevice& disk)
{
    for (const QString& partition : _shown.partitionsOf(disk)) {
        remove(partition);
    }
}

/// Each shows something of a device that has come or gone.
void UdevSource::refresh(const QStringList& objectPaths)
{
    for (const QString& path : objectPaths) {
        const ShownDevice* known = _shown.find(path);
        const bool isThere = known != nullptr && _reader.isThere(known->block);
        const std::optional<ShownDevice> now = isThere ? _reader.read(known->block) : std::nullopt;
        if (now) {
            update(*now, false);
        }
    }
}
