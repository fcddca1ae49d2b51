#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "map/reader/NtfsDevice.h"

struct _ntfs_volume; // NOLINT(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): not our name

/// An NTFS file system, read from its device through libntfs-3g without being mounted. Names are UTF-8, and
/// case does not count when they are looked up. Whatever is a reparse point (a link, a junction) is not
/// there: on a foreign disk it could lead anywhere.
class NtfsVolume
{
public:
    /// A file or directory by its record in the file system.
    using Reference = std::uint64_t;

    struct Entry
    {
        std::string name;
        bool isDirectory = false;
        Reference reference = 0;
    };

    static const Reference Root;

    /// The descriptor stays the caller's. Throws std::runtime_error when there is no readable NTFS.
    explicit NtfsVolume(int descriptor);
    ~NtfsVolume();
    NtfsVolume(const NtfsVolume&) = delete;
    NtfsVolume& operator=(const NtfsVolume&) = delete;

    /// What is at the end of `path` from `start` on; nothing if there is no such thing.
    std::optional<Reference> find(Reference start, const std::vector<std::string>& path) const;
    /// The first `limit` entries of a directory in its own order; none if it cannot be read.
    std::vector<Entry> entries(Reference directory, std::size_t limit) const;
    /// Bytes of a file's content; nothing if it is not a file.
    std::optional<std::uint64_t> size(Reference file) const;
    /// Hands the content over, piece by piece. Throws std::runtime_error when it cannot be read to its end.
    void read(Reference file, const std::function<void(const char* data, std::size_t size)>& take) const;

    /// From the device, so far.
    std::uint64_t bytesRead() const { return _device.bytesRead(); }

private:
    NtfsDevice _device;
    _ntfs_volume* _volume;
};
