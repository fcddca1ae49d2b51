#pragma once

#include <sys/types.h>

#include <QString>
#include <QStringList>

/// Where a device stands in the enumeration: devices by their place on the machine's buses, which stays the
/// same when the kernel finds them in another order, with their partitions behind them; then those without a
/// place, by number.
struct BusOrder
{
    QString place; ///< empty: none
    int partition = 0;
    dev_t number = 0;

    /// From the links below /dev/disk/by-path to the device.
    static BusOrder of(const QStringList& linksByPath, int partition, dev_t number);

    friend bool operator<(const BusOrder& left, const BusOrder& right);
};
