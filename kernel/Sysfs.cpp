#include "kernel/Sysfs.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

#include "kernel/Descriptor.h"

namespace fs = std::filesystem;

namespace {

/// The kernel gives an attribute one page.
constexpr int LongestValue = 4096;

} // namespace

Sysfs::Sysfs(std::string root)
    : _root(std::move(root))
{
}

bool Sysfs::exists(const QByteArray& path) const
{
    return access((_root + path.toStdString()).c_str(), F_OK) == 0;
}

QByteArray Sysfs::value(const QByteArray& device, const char* attribute) const
{
    const std::string path = _root + device.toStdString() + '/' + attribute;
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, LongestValue> bytes{};
    const ssize_t length = file.isOpen() ? read(file.get(), bytes.data(), bytes.size()) : 0;
    QByteArray text(bytes.data(), static_cast<int>(std::max<ssize_t>(length, 0)));
    if (text.endsWith('\n')) {
        text.chop(1);
    }
    return text;
}

qulonglong Sysfs::number(const QByteArray& device, const char* attribute, qulonglong otherwise) const
{
    bool isNumber = false;
    const qulonglong number = value(device, attribute).toULongLong(&isNumber);
    return isNumber ? number : otherwise;
}

QByteArrayList Sysfs::names(const QByteArray& device, const char* directory) const
{
    std::error_code failure;
    QByteArrayList result;
    const fs::path path = _root + device.toStdString() + '/' + directory;
    for (fs::directory_iterator entry(path, failure); !failure && entry != fs::directory_iterator();
         entry.increment(failure)) {
        result += QByteArray::fromStdString(entry->path().filename());
    }
    std::sort(result.begin(), result.end());
    return result;
}

QByteArray Sysfs::target(const QByteArray& link) const
{
    std::error_code failure;
    const std::string path = fs::canonical(_root + link.toStdString(), failure).string();
    const std::string root = fs::canonical(_root, failure).string();
    return path.rfind(root + '/', 0) == 0 ? QByteArray::fromStdString(path.substr(root.size()))
                                          : QByteArray();
}
