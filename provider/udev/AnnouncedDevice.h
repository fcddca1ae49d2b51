#pragma once

#include <QMap>
#include <QString>

#include "provider/Device.h"
#include "provider/udev/BlockDevice.h"

/// A device that was announced, with what distinguishes it from another one under its name.
struct AnnouncedDevice
{
    QString objectPath;
    QMap<QString, QString> identity;

    /// The token that changes with what is on the device.
    inline static const QString Content = QStringLiteral("uuid");

    static AnnouncedDevice of(const BlockDevice& block, const Device& device);

    /// Whether the other one is another device, or holds another medium. A value that one of them lacks
    /// decides nothing: a drive that was empty is the same with a disc.
    bool isReplacedBy(const AnnouncedDevice& other) const;

    bool operator==(const AnnouncedDevice& other) const
    {
        return objectPath == other.objectPath && identity == other.identity;
    }
};
