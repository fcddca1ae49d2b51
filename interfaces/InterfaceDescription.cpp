#include "interfaces/InterfaceDescription.h"

#include <QFile>
#include <QXmlStreamReader>

namespace {

QString contentOf(const QString& resource)
{
    QFile file(resource);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("%s is not built in", qPrintable(resource));
    }
    return QString::fromUtf8(file.readAll());
}

QString interfaceElement(const QString& document)
{
    const QString end = QStringLiteral("</interface>");
    const int from = document.indexOf(QLatin1String("<interface"));
    return document.mid(from, document.indexOf(end) + end.size() - from);
}

} // namespace

InterfaceDescription::InterfaceDescription(const QString& resource)
    : _xml(interfaceElement(contentOf(resource)))
{
    QXmlStreamReader reader(_xml);
    QString method;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        const QXmlStreamAttributes attributes = reader.attributes();
        const QString name = attributes.value(QLatin1String("name")).toString();
        const QString type = attributes.value(QLatin1String("type")).toString();
        if (reader.name() == QLatin1String("interface")) {
            _name = name;
        } else if (reader.name() == QLatin1String("property")) {
            _properties.insert(name, type);
        } else if (reader.name() == QLatin1String("method")) {
            method = name;
            _methods.insert(method, QString());
        } else if (attributes.value(QLatin1String("direction")) == QLatin1String("in")) {
            _methods[method] += type;
        }
    }
}

const InterfaceDescription& InterfaceDescription::daemon()
{
    static const InterfaceDescription description(QStringLiteral(":/interfaces/org.freedesktop.UDisks.xml"));
    return description;
}

const InterfaceDescription& InterfaceDescription::device()
{
    static const InterfaceDescription description(
        QStringLiteral(":/interfaces/org.freedesktop.UDisks.Device.xml"));
    return description;
}

const InterfaceDescription& InterfaceDescription::machine()
{
    static const InterfaceDescription description(
        QStringLiteral(":/interfaces/org.vorna.vrudisks.Machine.xml"));
    return description;
}

const InterfaceDescription& InterfaceDescription::none()
{
    static const InterfaceDescription description;
    return description;
}

const InterfaceDescription& InterfaceDescription::standardProperties()
{
    static const InterfaceDescription description(
        QStringLiteral(":/interfaces/org.freedesktop.DBus.Properties.xml"));
    return description;
}

const InterfaceDescription& InterfaceDescription::standardIntrospectable()
{
    static const InterfaceDescription description(
        QStringLiteral(":/interfaces/org.freedesktop.DBus.Introspectable.xml"));
    return description;
}

const InterfaceDescription& InterfaceDescription::standardPeer()
{
    static const InterfaceDescription description(
        QStringLiteral(":/interfaces/org.freedesktop.DBus.Peer.xml"));
    return description;
}
