#include "tests/bench/MountWatch.h"

#include <array>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int Bound = 20000; // milliseconds without any change

std::string content(int file)
{
    std::array<char, 4096> buffer = {};
    std::string result;
    lseek(file, 0, SEEK_SET);
    for (;;) {
        const ssize_t length = read(file, buffer.data(), buffer.size());
        if (length <= 0) {
            return result;
        }
        result.append(buffer.data(), static_cast<std::size_t>(length));
    }
}

} // namespace

MountWatch::MountWatch(const std::string& beginning)
    : _column(" " + beginning)
    , _table(open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC))
{
    if (_table < 0) {
        throw std::runtime_error("cannot read /proc/self/mountinfo");
    }
}

MountWatch::~MountWatch()
{
    close(_table);
}

void MountWatch::waitFor(int mounts)
{
    while (count() != mounts) {
        pollfd change = {_table, POLLPRI, 0};
        if (poll(&change, 1, Bound) == 0) {
            throw std::runtime_error("there are " + std::to_string(count()) + " mounts at" + _column +
                                     ", not " + std::to_string(mounts));
        }
    }
}

int MountWatch::count() const
{
    const std::string table = content(_table);
    int result = 0;
    for (std::size_t at = table.find(_column); at != std::string::npos; at = table.find(_column, at + 1)) {
        ++result;
    }
    return result;
}
