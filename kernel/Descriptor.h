#pragma once

#include <string>
#include <utility>

#include <unistd.h>

/// Owns a file descriptor.
class Descriptor
{
public:
    explicit Descriptor(int descriptor = -1)
        : _descriptor(descriptor)
    {
    }
    ~Descriptor()
    {
        if (_descriptor >= 0) {
            close(_descriptor);
        }
    }
    Descriptor(Descriptor&& other) noexcept
        : _descriptor(std::exchange(other._descriptor, -1))
    {
    }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(_descriptor, other._descriptor);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return _descriptor; }
    bool isOpen() const { return _descriptor >= 0; }

private:
    int _descriptor;
};

/// Opens a file, close-on-exec. Throws std::system_error: `complaint`, such as "cannot read", the path and
/// the system's reason.
Descriptor openFile(const std::string& path, int flags, const std::string& complaint = "cannot open");
