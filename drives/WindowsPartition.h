#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>

/// One partition in the drives map: what Windows knows it by, and the letters it gave it.
struct WindowsPartition
{
    qint32 number = 0;    ///< N of the key "PartitionN", from 1
    quint32 volumeId = 0; ///< 0 when the map names none, or no number
    QString serial;       ///< serial number of the disk
    QStringList letters;  ///< for example "C:", in the order of the map
};
