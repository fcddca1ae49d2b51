#include "provider/udev/UdevSource.h"

#include <algorithm>

#include <QDBusObjectPath>

namespace {

/// When udev's clock began, which counts from the start of the machine: in microseconds.
qlonglong startOfClock()
{
    using std::chrono::duration_cast;
    using std::chrono::microseconds;
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return (duration_cast<microseconds>(now) - duration_cast<microseconds>(sinceStart)).count();
}

bool differs(const Device& before, const Device& now)
{
    return before.properties != now.properties || before.partitionAttributes != now.partitionAttributes;
}

bool hasMedium(const Device& device)
{
    return device.properties.value(QStringLiteral("DeviceSize")).toULongLong() != 0;
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
    , _sysfs(std::move(sysfs))
    , _lastState(std::move(lastState))
    , _bootTime(startOfClock())
{
    // Without this no two values that hold a path are equal.
    if (!QMetaType::hasRegisteredComparators<QDBusObjectPath>()) {
        QMetaType::registerComparators<QDBusObjectPath>();
    }
    _patience.setSingleShot(true);
    _patience.setInterval(patience);
    connect(&_patience, &QTimer::timeout, this, &UdevSource::showAfterAll);
    _calm.setSingleShot(true);
    _calm.setInterval(calm);
    connect(&_calm, &QTimer::timeout, this, &UdevSource::lookAround);
    connect(_udev.get(), &Udev::announced, this, &UdevSource::follow);
    connect(_udev.get(), &Udev::settled, this, &UdevSource::awaitCalm);
}

std::vector<const Device*> UdevSource::devices() const
{
    std::vector<const Device*> result;
    for (const Entry& entry : _entries) {
        result.push_back(&entry.shown.device);
    }
    return result;
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
    if (unfinished(blocks).isEmpty()) {
        show(blocks);
    }
}

void UdevSource::showAfterAll()
{
    const std::vector<BlockDevice> blocks = _udev->devices();
    const QStringList names = unfinished(blocks);
    Q_EMIT noted(QStringLiteral("udev has not settled in %1 s; not shown until it has dealt with them: %2")
                     .arg(QString::number(_patience.interval() / 1000),
                          names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "))));
    show(blocks);
}

void UdevSource::show(const std::vector<BlockDevice>& blocks)
{
    _patience.stop();
    for (const BlockDevice& block : blocks) {
        const std::optional<Entry> entry = entryFor(block);
        if (entry) {
            _entries.push_back(*entry);
        }
    }
    sort();
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
    const std::vector<AnnouncedDevice> now = announcedDevices();
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

void UdevSource::follow()
{
    if (_phase == Phase::Starting) {
        return;
    }
    while (handle(_udev->receive())) {
    }
    if (_phase == Phase::Waiting) {
        showWhenSettled();
    } else {
        _lastState.write(announcedDevices());
    }
}

void UdevSource::awaitCalm()
{
    follow();
    _calm.start();
}

/// Shows what a crash of udev has swallowed, and partitions that the kernel kept while their card was out.
void UdevSource::lookAround()
{
    follow();
    if (_phase == Phase::Following) {
        reconcile();
        _lastState.write(announcedDevices());
    }
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
        reconcile();
    } else if (event.kind == Udev::Event::Kind::Gone) {
        remove(event.device.objectPath());
    } else {
        settle(event.device, event.kind == Udev::Event::Kind::Changed);
    }
    return true;
}

void UdevSource::reconcile()
{
    const std::vector<BlockDevice> blocks = _udev->devices();
    QSet<QString> present;
    for (const BlockDevice& block : blocks) {
        if (isFinished(block)) {
            present.insert(block.objectPath());
        }
    }
    for (const AnnouncedDevice& device : announcedDevices()) {
        if (!present.contains(device.objectPath)) {
            remove(device.objectPath);
        }
    }
    for (const BlockDevice& block : blocks) {
        settle(block, false);
    }
}

/// The one way from udev's device to a shown one.
void UdevSource::settle(const BlockDevice& block, bool isChange)
{
    const std::optional<Entry> now = entryFor(block);
    const Entry* known = entryOf(block.objectPath());
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

/// What udev calls a change may be one of the content or of the medium.
bool UdevSource::isReplaced(const Entry& before, const Entry& now, bool isChange)
{
    AnnouncedDevice known = before.announced();
    if (isChange) {
        known.identity.remove(AnnouncedDevice::CONTENT);
    }
    return known.isReplacedBy(now.announced());
}

void UdevSource::add(const Entry& entry)
{
    _entries.push_back(entry);
    sort();
    Q_EMIT added(entry.path());
    refresh(entry.shown.relatives);
}

void UdevSource::update(const Entry& now, bool isChange)
{
    const Device before = std::exchange(*entryOf(now.path()), now).shown.device;
    sort();
    if (hasMedium(before) && !hasMedium(now.shown.device)) {
        removePartitionsOf(now.block);
    }
    if (isChange || differs(before, now.shown.device)) {
        Q_EMIT changed(now.path());
    }
}

void UdevSource::remove(const QString& objectPath)
{
    const Entry* entry = entryOf(objectPath);
    if (entry == nullptr) {
        return;
    }
    const Entry gone = *entry;
    removePartitionsOf(gone.block);
    Q_EMIT removed(objectPath);
    _entries.erase(_entries.begin() + (entryOf(objectPath) - _entries.data()));
    refresh(gone.shown.relatives);
}

void UdevSource::removePartitionsOf(const BlockDevice& disk)
{
    QStringList partitions;
    for (const Entry& entry : _entries) {
        if (entry.block.isPartition() && entry.block.diskPath() == disk.path()) {
            partitions.prepend(entry.path());
        }
    }
    for (const QString& partition : partitions) {
        remove(partition);
    }
}

/// Each shows something of a device that has come or gone.
void UdevSource::refresh(const QStringList& objectPaths)
{
    for (const QString& path : objectPaths) {
        const Entry* known = entryOf(path);
        const bool isThere = known != nullptr && _sysfs.exists(known->block.path());
        const std::optional<Entry> now = isThere ? entryFor(known->block) : std::nullopt;
        if (now) {
            update(*now, false);
        }
    }
}

// --- entries

/// Whether all is known that can be. Without udev that is what the kernel says.
bool UdevSource::isFinished(const BlockDevice& block) const
{
    return block.isInitialized() || !_udev->isRunning();
}

/// Nothing for what is not shown, and for a device that udev has not dealt with.
std::optional<UdevSource::Entry> UdevSource::entryFor(const BlockDevice& block) const
{
    const std::optional<UdevDevice> shown =
        isFinished(block) ? shownAs(block, _sysfs, _bootTime) : std::nullopt;
    return shown ? std::make_optional(Entry{block, *shown}) : std::nullopt;
}

/// The names of devices that will be shown when udev has dealt with them.
QStringList UdevSource::unfinished(const std::vector<BlockDevice>& blocks) const
{
    QStringList names;
    for (const BlockDevice& block : blocks) {
        if (!isFinished(block) && shownAs(block, _sysfs, _bootTime)) {
            names += QString::fromUtf8(block.name());
        }
    }
    return names;
}

UdevSource::Entry* UdevSource::entryOf(const QString& path)
{
    const auto match = std::find_if(_entries.begin(), _entries.end(),
                                    [&](const Entry& entry) { return entry.path() == path; });
    return match != _entries.end() ? &*match : nullptr;
}

std::vector<AnnouncedDevice> UdevSource::announcedDevices() const
{
    std::vector<AnnouncedDevice> result;
    for (const Entry& entry : _entries) {
        result.push_back(entry.announced());
    }
    return result;
}

void UdevSource::sort()
{
    std::sort(_entries.begin(), _entries.end(),
              [](const Entry& left, const Entry& right) { return left.shown.order < right.shown.order; });
}
