#pragma once

#include <QStringList>
#include <QVariantMap>

#include <sys/types.h>

#include "provider/UDisks2Objects.h"

/// A block device of UDisks2 together with the objects that it refers to. What is not there is an empty map.
struct BlockObject
{
    BlockObject(const UDisks2Objects& objects, const QDBusObjectPath& path);

    bool isPartition() const { return !partition.isEmpty(); }
    /// An extended partition of an MBR table, which holds others and no file system.
    bool isExtended() const;
    /// Whether all that can be known of it is: what it holds, or that it holds nothing known, and the table
    /// that it is a part of.
    bool isIdentified() const;
    dev_t number() const;
    /// Its node.
    QString file() const;
    /// The link to its node that people should see, or the node.
    QString preferredFile() const;
    /// The file behind a loop device.
    QString backingFile() const;
    /// The links to its node that lie in one of the directories, sorted.
    QStringList linksIn(const QStringList& directories) const;
    /// "dos", "gpt", ... of the table that the partition is in.
    QString schemeOfPartition() const;

    QVariantMap block;
    QVariantMap partition;
    QVariantMap table; ///< the partition table on it
    QVariantMap encrypted;
    QVariantMap loop;
    QVariantMap drive;
    UDisks2Interfaces disk; ///< for a partition: the interfaces of the device that it is on
};
