#pragma once

#include <QDBusObjectPath>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>

#include "QDBusUDisksProxy.h"
#include "drives/MountRoot.h"

class DeviceProperties;

/// Owns the machine's mounted file systems: mounts what UDisks reports, gives the partitions of the machine's
/// own disks their Windows drive letters, remounts on request and takes everything down at the end.
///
/// Nothing here throws. Every failure becomes one line in the log, at warning level although its text may
/// begin with "ERROR"; `remountPath` also returns a status text. Everything runs on the main thread but
/// `remountPath`, which the command server calls on its own; there is no lock, because it only reads what the
/// constructor has filled.
class DriveManager : public QObject
{
    Q_OBJECT

public:
    /// The one drive manager. The first call makes it: creates the two roots, logs and remembers the devices
    /// that UDisks knows, and follows its signals. Mounts nothing.
    static DriveManager* instance();
    ~DriveManager() override;

    /// Mounts the partitions that were present when this object was made, and moves those of the machine's
    /// own disks to "/media/C:", "/media/D:" and so on, or to "/media/system-reserved". Called once. Ends
    /// early when a stop was asked for.
    void startUp();

    /// Mounts the file system at `path`, one of a partition that was present at the start, again with
    /// `options` (comma-separated). Returns "DONE ...", "WARNING ..." or "ERROR ..."; the empty text when the
    /// NTFS driver refused the options: the log then holds whether the file system is mounted read-only or
    /// not at all.
    QString remountPath(const QString& path, const QString& options);

    /// Unmounts every directory directly below the two roots, once each, and removes it; before that, what
    /// was mounted over a root since this object was made. Mounts that were over a root before stay.
    void shutdown();

private Q_SLOTS:
    void _slot_addDevice(const QDBusObjectPath& device);
    void _slot_removeDevice(const QDBusObjectPath& device);

private:
    DriveManager();

    /// Mounts a device of a mountable type below the root that it belongs to.
    void mount(const DeviceProperties& device, const QString& type);

    static QDBusUDisksProxy _s_udisks;
    static const QString _s_sRoot;
    static const QString _s_sTemp;

    /// Partitions of SCSI-class disks present at the start, in the order in which UDisks listed them.
    QList<QDBusObjectPath> _lstPartitions;
    /// Object path of a device to the directory it was mounted at. Holds external file systems other than
    /// NTFS.
    QMap<QString, QString> _mapMounted;
    MountRoot _final{_s_sRoot};
    MountRoot _temporary{_s_sTemp};
};
