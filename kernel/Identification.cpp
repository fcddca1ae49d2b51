#include "kernel/Identification.h"

#include <cerrno>
#include <memory>
#include <system_error>

#include <blkid.h>
#include <fcntl.h>

#include "kernel/Descriptor.h"

namespace {

constexpr quint64 SECTOR = 512;

using Probe = std::unique_ptr<blkid_struct_probe, decltype(&blkid_free_probe)>;

QString valueOf(const Probe& probe, const char* name)
{
    const char* value = nullptr;
    return blkid_probe_lookup_value(probe.get(), name, &value, nullptr) == 0 ? QString::fromUtf8(value)
                                                                             : QString();
}

} // namespace

Identification identify(const std::string& image)
{
    // A named pipe would be waited for; like everything else that is no block device and no file it is
    // refused.
    const Descriptor file(open(image.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    const Probe probe(blkid_new_probe(), &blkid_free_probe);
    if (!file.isOpen() || blkid_probe_set_device(probe.get(), file.get(), 0, 0) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
    blkid_probe_enable_superblocks(probe.get(), 1);
    blkid_probe_set_superblocks_flags(probe.get(), BLKID_SUBLKS_LABEL | BLKID_SUBLKS_UUID |
                                                       BLKID_SUBLKS_TYPE | BLKID_SUBLKS_USAGE |
                                                       BLKID_SUBLKS_VERSION);
    blkid_probe_enable_partitions(probe.get(), 1);
    // Nothing recognised, or several types at once: the values are empty.
    blkid_do_safeprobe(probe.get());
    Identification found;
    found.usage = valueOf(probe, "USAGE");
    found.type = valueOf(probe, "TYPE");
    found.version = valueOf(probe, "VERSION");
    found.label = valueOf(probe, "LABEL");
    found.uuid = valueOf(probe, "UUID");
    found.tableType = valueOf(probe, "PTTYPE");
    found.size = static_cast<quint64>(blkid_probe_get_size(probe.get())) / SECTOR * SECTOR;
    return found;
}
