#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>

#include "provider/UDisks2Objects.h"

/// UDisks2 as far as its object manager goes, in this process, on the bus that DBUS_SYSTEM_BUS_ADDRESS names.
/// It answers while the test serves its event loop. Its end looks like that of a process: the name goes with
/// it.
class FakeUDisks2 : public QDBusVirtualObject
{
    Q_OBJECT

public:
    explicit FakeUDisks2(const UDisks2Objects& objects = {});
    ~FakeUDisks2() override;

    /// What becomes of those who enumerate.
    enum class Mood
    {
        Helpful,
        Silent,
        Overloaded, ///< the bus says that it did not reply in time
    };
    void setMood(Mood mood) { _mood = mood; }
    int enumerations() const { return _enumerations; }

    // Each of these tells the bus as UDisks2 does.
    void add(const UDisks2Objects& objects);
    void add(const QDBusObjectPath& path, const UDisks2Interfaces& interfaces);
    void remove(const QDBusObjectPath& path);
    void removeInterface(const QDBusObjectPath& path, const QString& interface);
    void change(const QDBusObjectPath& path, const QString& interface, const QVariantMap& properties);

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& call, const QDBusConnection& bus) override;

private:
    QDBusConnection _bus;
    UDisks2Objects _objects;
    Mood _mood = Mood::Helpful;
    int _enumerations = 0;
};
