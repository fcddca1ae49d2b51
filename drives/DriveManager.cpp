#include "drives/DriveManager.h"

#include <cerrno>

#include <QDir>
#include <QFileInfo>

#include "drives/DeviceDump.h"
#include "drives/DeviceEnumeration.h"
#include "drives/DeviceProperties.h"
#include "drives/DriveLetters.h"
#include "drives/MountPolicy.h"
#include "drives/NtfsMount.h"
#include "drives/Remount.h"
#include "drives/WindowsDrives.h"
#include "interfaces/ServicePaths.h"
#include "interfaces/UDisks.h"
#include "kernel/MountCalls.h"
#include "log/LogText.h"
#include "log/Trace.h"
#include "process/StopRequest.h"

using MountPolicy::MountDirectory;

namespace {

/// Why nothing is mounted at `directory`, as an error number; 0 when nothing speaks against it. A symbolic
/// link there can come from a medium without a name that lies over the root, and would lead out of it.
int refusal(const MountDirectory& directory)
{
    if (!directory.isAllowed) {
        return EINVAL;
    }
    return QFileInfo(directory.path()).isSymLink() ? ELOOP : 0;
}

void reportFailedMount(const MountCalls::Outcome& outcome)
{
    LogText::warning(QStringLiteral("ERROR mount: %1").arg(outcome.errorText()));
}

bool mountNtfs(const QString& deviceFile, const QString& directory)
{
    return NtfsMount::run(ShellCommand(QStringLiteral("ntfs-3g %1 %2"), deviceFile, directory)) ||
           NtfsMount::runReadOnly(deviceFile, directory);
}

bool mountByKernel(const QString& deviceFile, const QString& directory, const QString& type)
{
    const QString data = MountPolicy::kernelMountData(type);
    // Kept: no blank after "-t". The line tells a reader what happens; it is never run.
    LogText::debug(QStringLiteral("mount -t%1 %2 %3 %4").arg(type, deviceFile, directory, data));
    const MountCalls::Outcome outcome = MountCalls::mountDevice(deviceFile, directory, type, data);
    if (!outcome.succeeded()) {
        reportFailedMount(outcome);
    }
    return outcome.succeeded();
}

QString letterFromMap(const DeviceProperties& device, const WindowsDrives& drivesMap, QString& runningLetter)
{
    const QString uuid = device.text("IdUuid");
    if (uuid.isEmpty()) {
        return {};
    }
    const QString key = DriveLetters::matchKey(device.text("IdType"), uuid);
    return key.isEmpty() ? QString() : DriveLetters::fromMap(drivesMap.partitions(), key, runningLetter);
}

QString letterByItself(const DeviceProperties& device, const MountDirectory& temporary, const QDir& finalRoot,
                       QString& runningLetter)
{
    const bool isSystem = DriveLetters::isSystemLabel(device.text("IdLabel"));
    if (isSystem && !QDir(temporary.path()).exists(QStringLiteral("Windows"))) {
        return QStringLiteral("system-reserved");
    }
    return DriveLetters::nextFree(runningLetter,
                                  [&](const QString& letter) { return finalRoot.exists(letter); });
}

/// A symbolic link can come from a medium that lies over the root, and would lead out of it.
bool isRealDirectory(const QString& path)
{
    const QFileInfo directory(path);
    return directory.isDir() && !directory.isSymLink();
}

} // namespace

QDBusUDisksProxy DriveManager::_s_udisks(UDisks::service(), UDisks::path(), QDBusConnection::systemBus(),
                                         nullptr);
const QString DriveManager::_s_sRoot = QLatin1String(ServicePaths::FinalRoot) + QLatin1Char('/');
const QString DriveManager::_s_sTemp = QLatin1String(ServicePaths::TemporaryRoot) + QLatin1Char('/');

DriveManager* DriveManager::instance()
{
    VORNA_TRACE();
    static DriveManager manager;
    return &manager;
}

DriveManager::DriveManager()
{
    VORNA_TRACE();
    _temporary.create();
    _final.create();
    for (const QDBusObjectPath& path : enumerateDevices(_s_udisks)) {
        if (StopRequest::isMade()) {
            break;
        }
        const DeviceProperties device(path);
        DeviceDump::write(device);
        if (device.isPartitionOfScsiDisk()) {
            _lstPartitions.append(path);
        }
    }
    connect(&_s_udisks, SIGNAL(DeviceAdded(QDBusObjectPath)), SLOT(_slot_addDevice(QDBusObjectPath)));
    connect(&_s_udisks, SIGNAL(DeviceRemoved(QDBusObjectPath)), SLOT(_slot_removeDevice(QDBusObjectPath)));
}

DriveManager::~DriveManager()
{
    VORNA_TRACE();
}

void DriveManager::startUp()
{
    VORNA_TRACE();
    WindowsDrives drivesMap;
    const bool hasMap = drivesMap.drivesIniExist();
    const QDir finalRoot(_s_sRoot);
    QString runningLetter = QStringLiteral("C:");
    for (const QDBusObjectPath& path : qAsConst(_lstPartitions)) {
        if (StopRequest::isMade()) {
            return;
        }
        _slot_addDevice(path);
        const DeviceProperties device(path);
        if (device.list("DeviceMountPaths").isEmpty()) {
            continue;
        }
        QString letter = hasMap ? letterFromMap(device, drivesMap, runningLetter) : QString();
        const MountDirectory temporary = MountPolicy::directoryForNode(_s_sTemp, device.text("DeviceFile"));
        if (letter.isEmpty()) {
            letter = letterByItself(device, temporary, finalRoot, runningLetter);
        }
        if (StopRequest::isMade()) {
            return;
        }
        const MountDirectory target = MountPolicy::directoryForLabel(_s_sRoot, letter);
        if (!move(temporary, target)) {
            continue;
        }
        // Kept: "%2" without a "%1"; the framework fills it all the same.
        LogText::debug(QStringLiteral("--move  ->  %2").arg(letter));
        removeTemporaryDirectory(device.text("DeviceFile"));
        if (MountPolicy::isNtfs(device.text("IdType"))) {
            remountPath(target.path(), QString());
        }
    }
}

QString DriveManager::remountPath(const QString& path, const QString& options)
{
    VORNA_TRACE();
    for (const QDBusObjectPath& partition : qAsConst(_lstPartitions)) {
        const DeviceProperties device(partition);
        if (device.list("DeviceMountPaths").contains(path)) {
            return Remount::carryOut({device.text("IdType"), device.text("DeviceFile"), path, options});
        }
        if (StopRequest::isMade()) {
            return {};
        }
    }
    QString result = QStringLiteral("WARNING re-mount path not found: [%1]").arg(path);
    LogText::warning(result);
    return result;
}

void DriveManager::shutdown()
{
    VORNA_TRACE();
    _final.takeDown();
    _temporary.takeDown();
}

void DriveManager::_slot_addDevice(const QDBusObjectPath& path)
{
    VORNA_TRACE();
    LogText::debug(QStringLiteral("Device to add: %1").arg(path.path()));
    const DeviceProperties device(path);
    const QString type = device.text("IdType");
    if (!MountPolicy::isMountable(type)) {
        return;
    }
    const bool external = device.isExternal();
    const QString deviceFile = device.text("DeviceFile");
    const MountDirectory directory = external ? MountPolicy::directoryForLabel(_s_sRoot, device.labelOrUuid())
                                              : MountPolicy::directoryForNode(_s_sTemp, deviceFile);
    if (StopRequest::isMade()) {
        return;
    }
    if (const int error = refusal(directory)) {
        reportFailedMount({-1, error});
        return;
    }
    (external ? _final : _temporary).makeDirectory(directory.path());
    // Kept: an NTFS file system is never entered in the table, so that pulling it leaves it mounted until the
    // end.
    const bool ntfs = MountPolicy::isNtfs(type);
    const bool mounted =
        ntfs ? mountNtfs(deviceFile, directory.path()) : mountByKernel(deviceFile, directory.path(), type);
    if (mounted && external && !ntfs) {
        _mapMounted.insert(device.path(), directory.path());
    }
}

void DriveManager::_slot_removeDevice(const QDBusObjectPath& path)
{
    VORNA_TRACE();
    LogText::debug(QStringLiteral("Device removed: %1").arg(path.path()));
    const auto entry = _mapMounted.find(path.path());
    if (entry == _mapMounted.end() || !isRealDirectory(entry.value())) {
        return;
    }
    const QString directory = entry.value();
    LogText::debug(QStringLiteral("Trying to umount2: %1").arg(directory));
    const MountCalls::Outcome outcome = MountCalls::forceUnmount(directory);
    if (!outcome.succeeded()) {
        LogText::warning(QStringLiteral("ERROR umount2: %1").arg(outcome.errorText()));
        return;
    }
    _final.removeDirectory(directory);
    _mapMounted.erase(entry);
}

bool DriveManager::move(const MountDirectory& from, const MountDirectory& to)
{
    if (from.name.isEmpty() || refusal(from) != 0 || refusal(to) != 0) {
        return false;
    }
    _final.makeDirectory(to.path());
    if (MountCalls::moveMount(from.path(), to.path()).succeeded()) {
        return true;
    }
    _final.removeDirectory(to.path());
    return false;
}

void DriveManager::removeTemporaryDirectory(const QString& deviceFile)
{
    const MountDirectory temporary = MountPolicy::directoryForNode(_s_sTemp, deviceFile);
    if (temporary.isAllowed) {
        _temporary.removeDirectory(temporary.path());
    }
}
