#pragma once

#include <functional>
#include <memory>

#include <QStringList>
#include <QThread>
#include <QVariant>

/// A UDisks whose answers a test scripts while they are asked for, so that something can happen between two
/// questions. It owns the bus name "org.freedesktop.UDisks" on the system bus that DBUS_SYSTEM_BUS_ADDRESS
/// names, on a connection and in a thread of its own, until the object goes.
class ScriptedUDisks
{
public:
    /// The value of a device's property; called in the thread of this object. An invalid one is answered with
    /// an error.
    using Answer = std::function<QVariant(const QString& property)>;

    /// `nodes` are the names of the devices below /dev, in the order in which they are listed. Throws
    /// std::runtime_error when the bus name is taken.
    ScriptedUDisks(const QStringList& nodes, Answer answer);
    ~ScriptedUDisks();
    ScriptedUDisks(const ScriptedUDisks&) = delete;
    ScriptedUDisks& operator=(const ScriptedUDisks&) = delete;

    static QString objectPath(const QString& node);

private:
    class Tree;

    QThread _thread;
    std::unique_ptr<Tree> _tree;
};
