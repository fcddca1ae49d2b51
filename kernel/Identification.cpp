#include "kernel/Identification.h"

#include <cerrno>
#include <memory>
#include <system_error>

#include <blkid.h>
#include <fcntl.h>

#include "kernel/Descriptor.h"

namespace {

constexpr quint64 SectorSize = 512;

using Probe = std::unique_ptr<blkid_struct_probe, decltype(&blkid_free_probe)>;

QByteArray bytesOf(const Probe& probe, const char* name)
{
    const char* value = nullptr;
    const int result = blkid_probe_lookup_value(probe.get(), name, &value, nullptr);
    return result == 0 ? QByteArray(value) : QByteArray();
}

QString textOf(const Probe& probe, const char* name)
{
    return QString::fromUtf8(bytesOf(probe, name));
}

void attach(const Probe& probe, const Descriptor& file, const std::string& path)
{
    const int result = blkid_probe_set_device(probe.get(), file.get(), 0, 0);
    const int error = errno;
    if (result != 0) {
        throw std::system_error(error, std::generic_category(), "cannot read " + path);
    }
}

} // namespace

Identification identify(const std::string& path)
{
    // A named pipe would be waited for; like everything else that is neither a block device nor a file it is
    // refused.
    const Descriptor file = openFile(path, O_RDONLY | O_NONBLOCK, "cannot read");
    const Probe probe(blkid_new_probe(), &blkid_free_probe);
    attach(probe, file, path);
    blkid_probe_enable_superblocks(probe.get(), 1);
    blkid_probe_set_superblocks_flags(probe.get(), BLKID_SUBLKS_LABEL | BLKID_SUBLKS_UUID |
                                                       BLKID_SUBLKS_TYPE | BLKID_SUBLKS_USAGE |
                                                       BLKID_SUBLKS_VERSION);
    blkid_probe_enable_partitions(probe.get(), 1);
    // Nothing recognised, or several types at once: the values are empty.
    blkid_do_safeprobe(probe.get());
    Identification found;
    found.usage = textOf(probe, "USAGE");
    found.type = textOf(probe, "TYPE");
    found.version = textOf(probe, "VERSION");
    found.label = bytesOf(probe, "LABEL");
    found.uuid = textOf(probe, "UUID");
    found.tableType = textOf(probe, "PTTYPE");
    found.size = static_cast<quint64>(blkid_probe_get_size(probe.get())) / SectorSize * SectorSize;
    return found;
}
