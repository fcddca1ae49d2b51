#include "kernel/PartitionTable.h"

#include <cerrno>
#include <system_error>

#include <blkid.h>

namespace {

/// The unit of libblkid, whatever the disk's own.
constexpr quint64 SectorSize = 512;

PartitionTable::Entry entryOf(blkid_partition partition)
{
    PartitionTable::Entry entry;
    entry.number = blkid_partition_get_partno(partition);
    entry.offset = static_cast<quint64>(blkid_partition_get_start(partition)) * SectorSize;
    entry.uuid = QString::fromUtf8(blkid_partition_get_uuid(partition)).toLower();
    return entry;
}

} // namespace

PartitionTableReader::PartitionTableReader(int descriptor)
    : _probe(blkid_new_probe(), &blkid_free_probe)
{
    const int result = blkid_probe_set_device(_probe.get(), descriptor, 0, 0);
    const int error = errno;
    if (result != 0) {
        throw std::system_error(error, std::generic_category(), "cannot read the disk");
    }
    // The probe keeps the answer.
    blkid_probe_get_sectorsize(_probe.get());
    blkid_probe_enable_superblocks(_probe.get(), 0);
    blkid_probe_enable_partitions(_probe.get(), 1);
}

PartitionTable PartitionTableReader::read() const
{
    const blkid_partlist list = blkid_probe_get_partitions(_probe.get());
    const blkid_parttable table = list == nullptr ? nullptr : blkid_partlist_get_table(list);
    PartitionTable result;
    if (table == nullptr) {
        return result;
    }
    result.type = QString::fromUtf8(blkid_parttable_get_type(table));
    result.uuid = QString::fromUtf8(blkid_parttable_get_id(table)).toLower();
    for (int index = 0; index < blkid_partlist_numof_partitions(list); ++index) {
        result.entries.push_back(entryOf(blkid_partlist_get_partition(list, index)));
    }
    return result;
}
