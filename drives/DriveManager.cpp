#include "drives/DriveManager.h"

#include <QFileInfo>

#include "drives/DeviceDump.h"
#include "drives/DeviceEnumeration.h"
#include "drives/DeviceProperties.h"
#include "drives/KernelDriver.h"
#include "drives/LetterArrangement.h"
#include "drives/MountDirectory.h"
#include "drives/MountPolicy.h"
#include "drives/NtfsDriver.h"
#include "interfaces/ServicePaths.h"
#include "interfaces/UDisks.h"
#include "kernel/MountCalls.h"
#include "log/LogText.h"
#include "log/Trace.h"
#include "process/StopRequest.h"

namespace {

/// Carries out a remount as a whole, or not at all once a stop was asked for.
QString remount(const DeviceProperties& device, const QString& path, const QString& options)
{
    const QString type = device.text("IdType");
    const QString deviceFile = device.text("DeviceFile");
    if (StopRequest::isMade()) {
        return {};
    }
    return MountPolicy::isNtfs(type) ? NtfsDriver::remount(deviceFile, path, options)
                                     : KernelDriver::remount(deviceFile, path, options);
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
    LetterArrangement letters(_temporary, _final);
    for (const QDBusObjectPath& path : qAsConst(_lstPartitions)) {
        if (StopRequest::isMade()) {
            return;
        }
        _slot_addDevice(path);
        const DeviceProperties device(path);
        if (device.list("DeviceMountPaths").isEmpty()) {
            continue;
        }
        const QString directory = letters.arrange(device);
        if (!directory.isEmpty() && MountPolicy::isNtfs(device.text("IdType"))) {
            remountPath(directory, QString());
        }
    }
}

QString DriveManager::remountPath(const QString& path, const QString& options)
{
    VORNA_TRACE();
    for (const QDBusObjectPath& partition : qAsConst(_lstPartitions)) {
        const DeviceProperties device(partition);
        if (device.list("DeviceMountPaths").contains(path)) {
            return remount(device, path, options);
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
    if (MountPolicy::isMountable(type)) {
        mount(device, type);
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

void DriveManager::mount(const DeviceProperties& device, const QString& type)
{
    const bool isExternal = device.isExternal();
    const QString deviceFile = device.text("DeviceFile");
    const MountDirectory directory = isExternal ? MountDirectory::forLabel(_final, device.labelOrUuid())
                                                : MountDirectory::forNode(_temporary, deviceFile);
    if (StopRequest::isMade()) {
        return;
    }
    if (const int error = directory.refusal()) {
        KernelDriver::reportFailedMount(error);
        return;
    }
    directory.create();
    // Kept: an NTFS file system is never entered in the table, so that pulling it leaves it mounted until the
    // end.
    if (MountPolicy::isNtfs(type)) {
        NtfsDriver::mount(deviceFile, directory.path());
    } else if (KernelDriver::mount(deviceFile, directory.path(), type) && isExternal) {
        _mapMounted.insert(device.path(), directory.path());
    }
}
