#include "provider/machine/MachineDevice.h"

#include <sys/sysmacros.h>

#include <QDBusObjectPath>
#include <QHash>

#include "interfaces/ObjectPath.h"
#include "interfaces/PartitionScheme.h"
#include "provider/machine/NodeName.h"

namespace {

constexpr qulonglong SectorSize = 512;

QVariantMap generalProperties(const MachineSection& section, const Identification& content, dev_t number)
{
    const QString file = QStringLiteral("/dev/") + section.node;
    const dev_t shown = NodeName(section.node).scsiNumber().value_or(number);
    const bool hasMedium = number != 0;
    return {
        {QStringLiteral("DeviceFile"), file},
        {QStringLiteral("DeviceFilePresentation"), file},
        {QStringLiteral("DeviceMajor"), qlonglong(major(shown))},
        {QStringLiteral("DeviceMinor"), qlonglong(minor(shown))},
        {QStringLiteral("DeviceSize"), qulonglong(content.size)},
        {QStringLiteral("DeviceBlockSize"), hasMedium || section.isPartition ? SectorSize : qulonglong(0)},
        {QStringLiteral("DeviceIsDrive"), !section.isPartition},
        {QStringLiteral("DeviceIsPartition"), section.isPartition},
        {QStringLiteral("DeviceIsSystemInternal"), section.isInternal},
        {QStringLiteral("DeviceIsMediaAvailable"), hasMedium},
    };
}

QVariantMap contentProperties(const Identification& content)
{
    QVariantMap properties{
        {QStringLiteral("IdUsage"), content.usage},
        {QStringLiteral("IdType"), content.type},
        {QStringLiteral("IdVersion"), content.version},
        {QStringLiteral("IdLabel"), QString::fromUtf8(content.label)},
        {QStringLiteral("IdUuid"), content.uuid},
        {QStringLiteral("DeviceIsLuks"), content.usage == QLatin1String("crypto")},
    };
    if (!content.uuid.isEmpty()) {
        properties.insert(QStringLiteral("DeviceFileById"),
                          QStringList(QStringLiteral("/dev/disk/by-uuid/") + content.uuid));
    }
    return properties;
}

/// The type that a partition with this content usually has in an MBR table.
QString partitionType(const QString& contentType)
{
    static const QHash<QString, QString> types{
        {QStringLiteral("ntfs"), QStringLiteral("0x07")},
        {QStringLiteral("exfat"), QStringLiteral("0x07")},
        {QStringLiteral("vfat"), QStringLiteral("0x0c")},
        {QStringLiteral("swap"), QStringLiteral("0x82")},
    };
    return types.value(contentType, QStringLiteral("0x83"));
}

QVariantMap partitionProperties(const MachineSection& section, const Identification& content)
{
    const NodeName node(section.node);
    return {
        {QStringLiteral("PartitionScheme"), QStringLiteral("mbr")},
        {QStringLiteral("PartitionType"), partitionType(content.type)},
        {QStringLiteral("PartitionNumber"), node.partition()},
        {QStringLiteral("PartitionSize"), qulonglong(content.size)},
        {QStringLiteral("PartitionSlave"),
         QVariant::fromValue(QDBusObjectPath(ObjectPath::ofDevice(node.disk().toUtf8())))},
    };
}
QVariantMap tableProperties(const Identification& content)
{
    const QString scheme = partitionScheme(content.tableType);
    return {
        {QStringLiteral("DeviceIsPartitionTable"), !scheme.isEmpty()},
        {QStringLiteral("PartitionTableScheme"), scheme},
    };
}

} // namespace

Device machineDevice(const MachineSection& section, const Identification& content, dev_t number)
{
    Device device;
    device.objectPath = ObjectPath::ofDevice(section.node.toUtf8());
    device.number = number;
    device.properties = generalProperties(section, content, number);
    device.properties.insert(contentProperties(content));
    device.properties.insert(section.isPartition ? partitionProperties(section, content)
                                                 : tableProperties(content));
    device.properties.insert(section.properties);
    device.missing = section.missing;
    device.partitionAttributes = section.attributes;
    return device;
}
