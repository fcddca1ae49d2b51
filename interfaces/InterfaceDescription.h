#pragma once

#include <QHash>
#include <QMap>
#include <QString>

/// A D-Bus interface as its introspection file describes it.
class InterfaceDescription
{
public:
    /// Reads `resource`, a file that is built in; its name without ".xml" is the interface's.
    explicit InterfaceDescription(const QString& resource);

    /// "org.freedesktop.UDisks", "org.freedesktop.UDisks.Device" and "org.vorna.vrudisks.Machine".
    static const InterfaceDescription& daemon();
    static const InterfaceDescription& device();
    static const InterfaceDescription& machine();
    /// An object without an interface of its own has this one, which has no name.
    static const InterfaceDescription& none();
    /// The interfaces that the bus defines for every object: "org.freedesktop.DBus.Properties",
    /// "...Introspectable" and "...Peer".
    static const InterfaceDescription& standardProperties();
    static const InterfaceDescription& standardIntrospectable();
    static const InterfaceDescription& standardPeer();

    const QString& name() const { return _name; }
    /// The <interface> element.
    const QString& xml() const { return _xml; }
    /// Signature of each property by its name.
    const QMap<QString, QString>& properties() const { return _properties; }
    /// Signature of each method's arguments by its name.
    const QHash<QString, QString>& methods() const { return _methods; }

private:
    InterfaceDescription() = default;

    QString _name;
    QString _xml;
    QMap<QString, QString> _properties;
    QHash<QString, QString> _methods;
};
