#include "map/reader/NtfsDevice.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

#include "map/reader/LibNtfs.h"

namespace {

NtfsDevice& self(ntfs_device* device)
{
    return *static_cast<NtfsDevice*>(device->d_private);
}

int refuse(int error)
{
    errno = error;
    return -1;
}

int open(ntfs_device* device, int flags)
{
    if ((flags & O_ACCMODE) != O_RDONLY) {
        return refuse(EROFS);
    }
    NDevSetOpen(device);
    NDevSetReadOnly(device);
    return 0;
}

int close(ntfs_device* /*device*/)
{
    return 0;
}

s64 seek(ntfs_device* device, s64 offset, int whence)
{
    return self(device).seek(offset, whence);
}

s64 read(ntfs_device* device, void* buffer, s64 count)
{
    return self(device).read(buffer, count);
}

s64 pread(ntfs_device* device, void* buffer, s64 count, s64 offset)
{
    return self(device).readAt(buffer, count, offset);
}

s64 write(ntfs_device* /*device*/, const void* /*buffer*/, s64 /*count*/)
{
    return refuse(EROFS);
}

s64 pwrite(ntfs_device* /*device*/, const void* /*buffer*/, s64 /*count*/, s64 /*offset*/)
{
    return refuse(EROFS);
}

int sync(ntfs_device* /*device*/)
{
    return 0;
}

int stat(ntfs_device* device, struct stat* about)
{
    return fstat(self(device).descriptor(), about);
}

int ioctl(ntfs_device* /*device*/, unsigned long /*request*/, void* /*argument*/)
{
    return refuse(ENOTTY);
}

ntfs_device_operations operations{open, close, seek, read, write, pread, pwrite, sync, stat, ioctl};

} // namespace

NtfsDevice::NtfsDevice(int descriptor)
    : _descriptor(descriptor)
    , _size(lseek(descriptor, 0, SEEK_END))
{
    const int error = errno;
    if (_size < 0) {
        throw std::system_error(error, std::generic_category(), "cannot read the partition");
    }
}

ntfs_device* NtfsDevice::make()
{
    return ntfs_device_alloc("partition", 0, &operations, this);
}

std::int64_t NtfsDevice::seek(std::int64_t offset, int whence)
{
    const std::int64_t start = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? _position : _size;
    if (offset < -start || offset > _size - start) {
        return refuse(EINVAL);
    }
    return _position = start + offset;
}

std::int64_t NtfsDevice::read(void* buffer, std::int64_t count)
{
    const std::int64_t result = readAt(buffer, count, _position);
    _position += std::max<std::int64_t>(result, 0);
    return result;
}

std::int64_t NtfsDevice::readAt(void* buffer, std::int64_t count, std::int64_t offset)
{
    const std::int64_t result = ::pread(_descriptor, buffer, static_cast<std::size_t>(count), offset);
    _bytesRead += static_cast<std::uint64_t>(std::max<std::int64_t>(result, 0));
    return result;
}
