#pragma once

#include <functional>
#include <map>
#include <vector>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QTimer>

#include "provider/DeviceSource.h"
#include "provider/HoldBack.h"
#include "provider/UDisks2Device.h"
#include "provider/UDisks2Objects.h"
#include "provider/UdevDatabase.h"

class QDBusPendingCallWatcher;

/// The block devices that UDisks2 knows, sorted by their place in the machine.
///
/// UDisks2 may start later than this. When it goes away (it is restarted, it has crashed), the devices stay
/// as they were last; when it is back, those that vanished or were exchanged meanwhile are told as removed
/// and the new ones as added.
///
/// A device that UDisks2 announces before it is identified is told as added when it is, or when it has been
/// held back long enough.
class UDisks2Source : public DeviceSource
{
    Q_OBJECT

public:
    UDisks2Source(const QDBusConnection& bus, bool showsTrueMajor, Sysfs sysfs = Sysfs(),
                  UdevDatabase udev = UdevDatabase());

    void start() override;
    std::vector<const Device*> devices() const override;

Q_SIGNALS:
    /// UDisks2 is missing, or back: a line for people, once each time.
    void noted(const QString& text);

private Q_SLOTS:
    void interfacesAdded(const QDBusMessage& signal);
    void interfacesRemoved(const QDBusMessage& signal);
    void propertiesChanged(const QDBusMessage& signal);

private:
    using Translations = std::map<QDBusObjectPath, UDisks2Device>;
    struct Entry
    {
        QDBusObjectPath path; ///< UDisks2's
        UDisks2Device shown;
    };

    void subscribe();
    void load();
    void loaded(QDBusPendingCallWatcher* call);
    void adopt(const UDisks2Objects& objects);
    void showAll();
    void catchUp();
    void lost();
    void noteAbsence(const QString& text);

    Translations translateAll() const;
    void objectChanged(const QDBusObjectPath& changedPath);
    void settleAll(const Translations& now, const QDBusObjectPath& changedPath);
    void settle(const QDBusObjectPath& path, const UDisks2Device& now, const QDBusObjectPath& changedPath);
    void admit(const QDBusObjectPath& path, const UDisks2Device& device);
    bool hasWaited(const QDBusObjectPath& path, dev_t number);
    void admitOverdue();
    void removeUnless(const std::function<bool(const Entry&)>& stays);
    void sort();

    QDBusConnection _bus;
    bool _showsTrueMajor;
    Sysfs _sysfs;
    UdevDatabase _udev;
    QDBusServiceWatcher _presence;
    bool _isFollowing = false; ///< UDisks2's signals, since it was enumerated
    bool _isReady = false;
    bool _absenceIsNoted = false;
    UDisks2Objects _objects;
    std::vector<Entry> _entries;               ///< what has been told, in the order of enumeration
    std::map<QDBusObjectPath, HoldBack> _held; ///< what is not identified yet
    QTimer _holdTimer;
};
