#pragma once

#include <cstdint>

struct ntfs_device;

/// An open block device or image as libntfs-3g wants to see it. It is only ever read, and through the
/// descriptor alone: the library opens nothing by itself. Counts what is read.
class NtfsDevice
{
public:
    /// The descriptor stays the caller's. Throws std::system_error when its size cannot be found out.
    explicit NtfsDevice(int descriptor);
    NtfsDevice(const NtfsDevice&) = delete;
    NtfsDevice& operator=(const NtfsDevice&) = delete;

    /// For ntfs_device_mount; whoever gets it frees it. Null when there is no memory.
    ntfs_device* make();

    std::uint64_t bytesRead() const { return _bytesRead; }

    /// These do what the system calls of the same names do; -1 and errno in case of failure.
    std::int64_t seek(std::int64_t offset, int whence);
    std::int64_t read(void* buffer, std::int64_t count);
    std::int64_t readAt(void* buffer, std::int64_t count, std::int64_t offset);
    int descriptor() const { return _descriptor; }

private:
    int _descriptor;
    std::int64_t _size;
    std::int64_t _position = 0;
    std::uint64_t _bytesRead = 0;
};
