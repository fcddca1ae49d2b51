#pragma once

#include <sys/types.h>

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

/// A block device as udev describes it: its properties, which come from the kernel and from udev's rules.
class BlockDevice
{
public:
    using Properties = QMap<QByteArray, QByteArray>;

    BlockDevice() = default;
    explicit BlockDevice(Properties properties);

    /// Whether udev says the same of both, how they were announced included.
    bool operator==(const BlockDevice& other) const { return _properties == other._properties; }

    /// Below sysfs: "/devices/pci0000:00/.../block/sda/sda1".
    QByteArray path() const { return value("DEVPATH"); }
    /// The kernel's name, as sysfs writes it.
    QByteArray name() const;
    dev_t number() const;
    QString objectPath() const;
    bool isPartition() const { return value("DEVTYPE") == "partition"; }
    /// The path of the disk that it is, or that it is a partition of.
    QByteArray diskPath() const;
    /// Whether udev's rules have run for it: what they can find out is known.
    bool isInitialized() const { return !value("USEC_INITIALIZED").isEmpty(); }

    QByteArray value(const char* property) const { return _properties.value(property); }
    QString text(const char* property) const;
    /// Text in which udev writes bytes as \xNN. It ends at a NUL.
    QString decodedText(const char* property) const;
    /// Decimal, or hexadecimal with "0x"; 0 if it is not a number.
    qulonglong number(const char* property) const;
    bool flag(const char* property) const { return value(property) == "1"; }
    bool has(const char* property) const { return _properties.contains(property); }
    /// The links to its node that lie below one of the directories, sorted.
    QStringList linksIn(const QStringList& directories) const;

private:
    Properties _properties;
};
