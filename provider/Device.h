#pragma once

#include <sys/types.h>

#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <QtGlobal>

/// One block device as the UDisks 1 interface shows it.
struct Device
{
    QString objectPath;
    /// The number that the kernel knows it by; 0 if there is no block device behind.
    dev_t number = 0;
    /// The known properties, in the exact D-Bus types. Any other property has the empty value of its type,
    /// except DeviceMountPaths and DeviceIsMounted: unless they are given here, they are the kernel's at
    /// every read.
    QVariantMap properties;
    /// Properties that do not exist for those who ask.
    QSet<QString> missing;
    /// The attribute bits of its entry in a GPT partition table; 0 for any other device.
    quint64 partitionAttributes = 0;
    /// The object paths of the devices that it stands on: a partition's disk, the parts of a mapped device or
    /// an array. Their properties change when it comes or goes.
    QStringList basis = {};

    /// Its node and the links to it that its properties name.
    QStringList files() const;
    /// Whether `file` is one of these.
    bool hasFile(const QString& file) const;
    /// Whether the kernel knows it by this number; without a block device behind, whether its properties say
    /// so.
    bool hasNumber(qlonglong majorNumber, qlonglong minorNumber) const;
};
