#pragma once

#include <functional>

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>

class MachineSource;

/// The D-Bus interface org.vorna.vrudisks.Machine, by which tests and `vrudisks plug` reach a made-up
/// machine. What the machine refuses is answered with the error org.vorna.vrudisks.Error.Refused and its line
/// for people.
class MachineControl : public QObject, protected QDBusContext
{
    Q_OBJECT

public:
    static const QString PATH;

    MachineControl(MachineSource& machine, QDBusConnection bus);

    // Called by the adaptor that is generated from the interface's file.
    void Plug(const QString& section);
    void Unplug(const QString& section);
    void Set(const QString& section, const QString& key, const QString& value);

private:
    void answer(const std::function<void()>& operation);

    MachineSource& _machine;
};
