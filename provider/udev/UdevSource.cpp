#include "provider/udev/UdevSource.h"

#include <algorithm>

#include <QDBusObjectPath>

namespace {

using std::chrono::duration_cast;
using std::chrono::microseconds;

/// When udev's clock began, which counts from the start of the machine.
qlonglong startOfClock()
{
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return (duration_cast<microseconds>(now) - duration_cast<microseconds>(sinceStart)).count();
}

/// 0 counts as not known.
QString token(const Device& device, const char* property)
{
    const QString text = device.properties.value(QString::fromLatin1(property)).toString();
    return text != QLatin1String("0") ? text : QString();
}

AnnouncedDevice announced(const BlockDevice& block, const Device& device)
{
    return {device.objectPath,
            {{QStringLiteral("number"), QString::number(device.number)},
             {QStringLiteral("since"), block.text("USEC_INITIALIZED")},
             {QStringLiteral("serial"), token(device, "DriveSerial")},
             {QStringLiteral("size"), token(device, "DeviceSize")},
             {QStringLiteral("uuid"), token(device, "IdUuid")},
             {QStringLiteral("file"), token(device, "LinuxLoopFilename")}}};
}

/// Whether the kernel has made the device anew, under the old name.
bool isAnother(const BlockDevice& before, const BlockDevice& now)
{
    return before.number() != now.number() ||
           before.value("USEC_INITIALIZED") != now.value("USEC_INITIALIZED");
}

bool differs(const Device& before, const Device& now)
{
    return before.properties != now.properties || before.partitionAttributes != now.partitionAttributes;
}

bool hasMedium(const Device& device)
{
    return device.properties.value(QStringLiteral("DeviceSize")).toULongLong() != 0;
}

template<typename Devices>
auto entryWith(Devices& devices, const QString& objectPath)
{
    return std::find_if(devices.begin(), devices.end(),
                        [&](const AnnouncedDevice& device) { return device.objectPath == objectPath; });
}

} // namespace

UdevSource::UdevSource(std::unique_ptr<Udev> udev, Sysfs sysfs, LastState lastState,
                       std::chrono::milliseconds patience)
    : _udev(std::move(udev))
    , _sysfs(std::move(sysfs))
    , _lastState(std::move(lastState))
    , _bootTime(startOfClock())
{
    // Without this no two values that hold a path are equal.
    QMetaType::registerComparators<QDBusObjectPath>();
    _patience.setSingleShot(true);
    _patience.setInterval(patience);
    connect(&_patience, &QTimer::timeout, this, &UdevSource::showAfterAll);
    connect(_udev.get(), &Udev::announced, this, &UdevSource::follow);
    connect(_udev.get(), &Udev::settled, this, &UdevSource::lookAround);
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
    const bool areComplete = std::all_of(blocks.begin(), blocks.end(), [this](const BlockDevice& block) {
        return isComplete(block) || !entryFor(block);
    });
    if (areComplete) {
        show(blocks);
    }
}

void UdevSource::showAfterAll()
{
    const std::vector<BlockDevice> blocks = _udev->devices();
    QStringList names;
    for (const BlockDevice& block : blocks) {
        if (!isComplete(block) && entryFor(block)) {
            names += QString::fromUtf8(block.name());
        }
    }
    Q_EMIT noted(QStringLiteral("udev has not settled in %1 s; not shown until it has dealt with them: %2")
                     .arg(_patience.interval() / 1000)
                     .arg(names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "))));
    show(blocks);
}

void UdevSource::show(const std::vector<BlockDevice>& blocks)
{
    _patience.stop();
    for (const BlockDevice& block : blocks) {
        const std::optional<Entry> entry = isComplete(block) ? entryFor(block) : std::nullopt;
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
    _lastState.write(announcedDevices());
    _phase = Phase::Following;
    follow();
}

void UdevSource::announceSince(const std::vector<AnnouncedDevice>& last)
{
    const std::vector<AnnouncedDevice> now = announcedDevices();
    for (auto before = last.rbegin(); before != last.rend(); ++before) {
        const auto match = entryWith(now, before->objectPath);
        if (match == now.end() || before->isReplacedBy(*match)) {
            Q_EMIT removed(before->objectPath);
        }
    }
    for (const AnnouncedDevice& device : now) {
        const auto match = entryWith(last, device.objectPath);
        if (match == last.end() || match->isReplacedBy(device)) {
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

/// What a crash of udev's has swallowed shows now, and partitions that the kernel kept while their card was
/// out.
void UdevSource::lookAround()
{
    follow();
    if (_phase == Phase::Following) {
        reconcile(false);
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
        reconcile(true);
    } else if (event.kind == Udev::Event::Kind::Gone) {
        remove(event.device.objectPath());
    } else {
        settle(event.device, event.kind == Udev::Event::Kind::Changed);
    }
    return true;
}

void UdevSource::reconcile(bool hasLost)
{
    std::map<QString, Entry> now;
    const std::vector<BlockDevice> blocks = _udev->devices();
    for (const BlockDevice& block : blocks) {
        const std::optional<Entry> entry = isComplete(block) ? entryFor(block) : std::nullopt;
        if (entry) {
            now.emplace(block.objectPath(), *entry);
        }
    }
    for (const AnnouncedDevice& before : announcedDevices()) {
        const auto match = now.find(before.objectPath);
        const bool isGone = match == now.end();
        if (isGone ||
            (hasLost && before.isReplacedBy(announced(match->second.block, match->second.shown.device)))) {
            remove(before.objectPath);
        }
    }
    for (const BlockDevice& block : blocks) {
        settle(block, false);
    }
}

/// The one way from udev's device to a shown one.
void UdevSource::settle(const BlockDevice& block, bool isChange)
{
    const std::optional<Entry> now = isComplete(block) ? entryFor(block) : std::nullopt;
    Entry* known = find(block.objectPath());
    if (known != nullptr && (!now || isAnother(known->block, block))) {
        remove(block.objectPath());
        known = nullptr;
    }
    if (now && known != nullptr) {
        update(*known, *now, isChange);
    } else if (now) {
        add(*now);
    }
}

void UdevSource::add(const Entry& entry)
{
    _entries.push_back(entry);
    sort();
    Q_EMIT added(entry.shown.device.objectPath);
    refresh(entry.shown.relatives);
}

void UdevSource::update(Entry& known, const Entry& now, bool isChange)
{
    const bool isEmptied = hasMedium(known.shown.device) && !hasMedium(now.shown.device);
    const bool isDifferent = differs(known.shown.device, now.shown.device);
    known = now;
    sort();
    if (isEmptied) {
        removePartitionsOf(now.block);
    }
    if (isDifferent || isChange) {
        Q_EMIT changed(now.shown.device.objectPath);
    }
}

void UdevSource::remove(const QString& objectPath)
{
    const Entry* entry = find(objectPath);
    if (entry == nullptr) {
        return;
    }
    const Entry gone = *entry;
    removePartitionsOf(gone.block);
    Q_EMIT removed(objectPath);
    _entries.erase(std::remove_if(_entries.begin(), _entries.end(),
                                  [&](const Entry& at) { return at.shown.device.objectPath == objectPath; }),
                   _entries.end());
    refresh(gone.shown.relatives);
}

void UdevSource::removePartitionsOf(const BlockDevice& disk)
{
    QStringList partitions;
    for (const Entry& entry : _entries) {
        if (entry.block.isPartition() && entry.block.diskPath() == disk.path()) {
            partitions.prepend(entry.shown.device.objectPath);
        }
    }
    for (const QString& partition : partitions) {
        remove(partition);
    }
}

/// These show something of a device that has come or gone.
void UdevSource::refresh(const QStringList& objectPaths)
{
    for (const QString& path : objectPaths) {
        Entry* known = find(path);
        const bool isThere = known != nullptr && _sysfs.exists(known->block.path());
        const std::optional<Entry> now = isThere ? entryFor(known->block) : std::nullopt;
        if (now) {
            update(*known, *now, false);
        }
    }
}

// --- entries

/// Without udev nothing more can be known of a device than the kernel says.
bool UdevSource::isComplete(const BlockDevice& block) const
{
    return block.isInitialized() || !_udev->isRunning();
}

std::optional<UdevSource::Entry> UdevSource::entryFor(const BlockDevice& block) const
{
    const std::optional<UdevDevice> shown = shownAs(block, _sysfs, _bootTime);
    return shown ? std::make_optional(Entry{block, *shown}) : std::nullopt;
}

UdevSource::Entry* UdevSource::find(const QString& path)
{
    const auto match = std::find_if(_entries.begin(), _entries.end(), [&](const Entry& entry) {
        return entry.shown.device.objectPath == path;
    });
    return match != _entries.end() ? &*match : nullptr;
}

std::vector<AnnouncedDevice> UdevSource::announcedDevices() const
{
    std::vector<AnnouncedDevice> result;
    for (const Entry& entry : _entries) {
        result.push_back(announced(entry.block, entry.shown.device));
    }
    return result;
}

void UdevSource::sort()
{
    std::sort(_entries.begin(), _entries.end(),
              [](const Entry& left, const Entry& right) { return left.shown.order < right.shown.order; });
}
