#include "provider/UDisks2Source.h"

#include <algorithm>
#include <chrono>

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace {

using namespace std::chrono_literals;

/// When udev is asked again about devices that are held back.
constexpr auto TICK = 20ms;
/// When UDisks2 is asked again that did not answer.
constexpr auto RETRY = 1s;

const QString WAITING = QStringLiteral("waiting for UDisks2");
const QString GONE = QStringLiteral("UDisks2 is gone; its devices stay as they were until it is back");

const QString OBJECT_MANAGER = QStringLiteral("org.freedesktop.DBus.ObjectManager");
const QString PROPERTIES = QStringLiteral("org.freedesktop.DBus.Properties");

void registerTypes()
{
    qDBusRegisterMetaType<UDisks2Interfaces>();
    qDBusRegisterMetaType<UDisks2Objects>();
    qDBusRegisterMetaType<QList<QByteArray>>();
    // Without this no two values that hold a path are equal.
    QMetaType::registerComparators<QDBusObjectPath>();
}

QDBusObjectPath pathIn(const QDBusMessage& signal)
{
    return signal.arguments().value(0).value<QDBusObjectPath>();
}

bool isKnown(const QVariant& value)
{
    return !value.toString().isEmpty() && value != QVariant(qulonglong(0));
}

/// Whether two states of a device that was not watched in between belong to different media. What one of them
/// does not tell decides nothing: UDisks2 may just not know it yet.
bool isExchanged(const UDisks2Device& before, const UDisks2Device& after)
{
    const QStringList tokens{QStringLiteral("DriveSerial"), QStringLiteral("DeviceSize"),
                             QStringLiteral("IdUuid")};
    const auto differs = [&](const QString& token) {
        const QVariant old = before.device.properties.value(token);
        const QVariant now = after.device.properties.value(token);
        return isKnown(old) && isKnown(now) && old != now;
    };
    return before.device.number != after.device.number || std::any_of(tokens.begin(), tokens.end(), differs);
}

} // namespace

UDisks2Source::UDisks2Source(const QDBusConnection& bus, bool showsTrueMajor, Sysfs sysfs, UdevDatabase udev)
    : _bus(bus)
    , _showsTrueMajor(showsTrueMajor)
    , _sysfs(std::move(sysfs))
    , _udev(std::move(udev))
    , _presence(UDisks2::SERVICE, bus,
                QDBusServiceWatcher::WatchForRegistration | QDBusServiceWatcher::WatchForUnregistration)
{
    registerTypes();
    _holdTimer.setInterval(TICK);
    connect(&_holdTimer, &QTimer::timeout, this, &UDisks2Source::admitOverdue);
}

void UDisks2Source::start()
{
    subscribe();
    load();
}

std::vector<const Device*> UDisks2Source::devices() const
{
    std::vector<const Device*> result;
    for (const Entry& entry : _entries) {
        result.push_back(&entry.shown.device);
    }
    return result;
}

// --- UDisks2 comes and goes

void UDisks2Source::subscribe()
{
    connect(&_presence, &QDBusServiceWatcher::serviceRegistered, this, &UDisks2Source::load);
    connect(&_presence, &QDBusServiceWatcher::serviceUnregistered, this, &UDisks2Source::lost);
    _bus.connect(UDisks2::SERVICE, UDisks2::ROOT, OBJECT_MANAGER, QStringLiteral("InterfacesAdded"), this,
                 SLOT(interfacesAdded(QDBusMessage)));
    _bus.connect(UDisks2::SERVICE, UDisks2::ROOT, OBJECT_MANAGER, QStringLiteral("InterfacesRemoved"), this,
                 SLOT(interfacesRemoved(QDBusMessage)));
    _bus.connect(UDisks2::SERVICE, QString(), PROPERTIES, QStringLiteral("PropertiesChanged"), this,
                 SLOT(propertiesChanged(QDBusMessage)));
}

void UDisks2Source::load()
{
    _isFollowing = false;
    const QDBusMessage call = QDBusMessage::createMethodCall(UDisks2::SERVICE, UDisks2::ROOT, OBJECT_MANAGER,
                                                             QStringLiteral("GetManagedObjects"));
    const auto* enumeration = new QDBusPendingCallWatcher(_bus.asyncCall(call), this);
    connect(enumeration, &QDBusPendingCallWatcher::finished, this, &UDisks2Source::loaded);
}

void UDisks2Source::loaded(QDBusPendingCallWatcher* call)
{
    call->deleteLater();
    const QDBusPendingReply<UDisks2Objects> reply = *call;
    if (!reply.isError()) {
        adopt(reply.value());
        return;
    }
    noteAbsence(WAITING);
    if (reply.error().type() == QDBusError::NoReply) {
        QTimer::singleShot(RETRY, this, &UDisks2Source::load);
    }
}

void UDisks2Source::lost()
{
    _isFollowing = false;
    noteAbsence(_isReady ? GONE : WAITING);
}

void UDisks2Source::noteAbsence(const QString& text)
{
    if (!_absenceIsNoted) {
        _absenceIsNoted = true;
        Q_EMIT noted(text);
    }
}

void UDisks2Source::adopt(const UDisks2Objects& objects)
{
    _objects = objects;
    _isFollowing = true;
    if (_absenceIsNoted) {
        _absenceIsNoted = false;
        Q_EMIT noted(QStringLiteral("UDisks2 is there"));
    }
    if (_isReady) {
        catchUp();
    } else {
        showAll();
    }
}

void UDisks2Source::showAll()
{
    for (const auto& [path, device] : translateAll()) {
        _entries.push_back({path, device});
    }
    sort();
    _isReady = true;
    Q_EMIT ready();
}

void UDisks2Source::catchUp()
{
    const Translations now = translateAll();
    removeUnless([&](const Entry& entry) {
        const auto match = now.find(entry.path);
        return match != now.end() && !isExchanged(entry.shown, match->second);
    });
    settleAll(now, {});
}

// --- objects of UDisks2 come, change and go

void UDisks2Source::interfacesAdded(const QDBusMessage& signal)
{
    const auto interfaces = qdbus_cast<UDisks2Interfaces>(signal.arguments().value(1));
    if (_isFollowing) {
        _objects[pathIn(signal)].insert(interfaces);
        objectChanged(pathIn(signal));
    }
}

void UDisks2Source::interfacesRemoved(const QDBusMessage& signal)
{
    const QDBusObjectPath path = pathIn(signal);
    if (!_isFollowing || !_objects.contains(path)) {
        return;
    }
    for (const QString& interface : signal.arguments().value(1).toStringList()) {
        _objects[path].remove(interface);
    }
    if (_objects[path].isEmpty()) {
        _objects.remove(path);
    }
    objectChanged(path);
}

void UDisks2Source::propertiesChanged(const QDBusMessage& signal)
{
    const QDBusObjectPath path(signal.path());
    const QString interface = signal.arguments().value(0).toString();
    if (!_isFollowing || !_objects.value(path).contains(interface)) {
        return;
    }
    _objects[path][interface].insert(qdbus_cast<QVariantMap>(signal.arguments().value(1)));
    objectChanged(path);
}

UDisks2Source::Translations UDisks2Source::translateAll() const
{
    Translations result;
    for (auto object = _objects.begin(); object != _objects.end(); ++object) {
        if (const auto device = translated(_objects, object.key(), _sysfs, _showsTrueMajor)) {
            result.emplace(object.key(), *device);
        }
    }
    return result;
}

/// An object can change what is shown of others: a partition shows its table, a disk its drive.
void UDisks2Source::objectChanged(const QDBusObjectPath& changedPath)
{
    const Translations now = translateAll();
    removeUnless([&](const Entry& entry) { return now.count(entry.path) != 0; });
    settleAll(now, changedPath);
}

void UDisks2Source::settleAll(const Translations& now, const QDBusObjectPath& changedPath)
{
    for (auto held = _held.begin(); held != _held.end();) {
        held = now.count(held->first) != 0 ? std::next(held) : _held.erase(held);
    }
    for (const auto& [path, device] : now) {
        settle(path, device, changedPath);
    }
}

void UDisks2Source::settle(const QDBusObjectPath& path, const UDisks2Device& now,
                           const QDBusObjectPath& changedPath)
{
    const auto known = std::find_if(_entries.begin(), _entries.end(),
                                    [&](const Entry& entry) { return entry.path == path; });
    if (known == _entries.end()) {
        admit(path, now);
        return;
    }
    const bool differs = path == changedPath || known->shown.device.properties != now.device.properties;
    // The kernel forgets the name of a device before UDisks2 tells that it is gone.
    const QString objectPath = known->shown.device.objectPath;
    known->shown = now;
    known->shown.device.objectPath = objectPath;
    sort();
    if (differs) {
        Q_EMIT changed(objectPath);
    }
}

void UDisks2Source::admit(const QDBusObjectPath& path, const UDisks2Device& device)
{
    if (!device.isIdentified && !hasWaited(path, device.device.number)) {
        if (!_holdTimer.isActive()) {
            _holdTimer.start();
        }
        return;
    }
    _held.erase(path);
    _entries.push_back({path, device});
    sort();
    Q_EMIT added(device.device.objectPath);
}

bool UDisks2Source::hasWaited(const QDBusObjectPath& path, dev_t number)
{
    const auto now = HoldBack::Clock::now();
    return _held.try_emplace(path, now).first->second.isOver(_udev.knowledgeOf(number), now);
}

void UDisks2Source::admitOverdue()
{
    for (const auto& [path, device] : translateAll()) {
        if (_held.count(path) != 0) {
            admit(path, device);
        }
    }
    if (_held.empty()) {
        _holdTimer.stop();
    }
}

void UDisks2Source::removeUnless(const std::function<bool(const Entry&)>& stays)
{
    for (size_t at = _entries.size(); at > 0; --at) {
        const Entry entry = _entries[at - 1];
        if (!stays(entry)) {
            Q_EMIT removed(entry.shown.device.objectPath);
            _entries.erase(_entries.begin() + static_cast<std::ptrdiff_t>(at - 1));
        }
    }
}

void UDisks2Source::sort()
{
    std::sort(_entries.begin(), _entries.end(),
              [](const Entry& left, const Entry& right) { return left.shown.order < right.shown.order; });
}
