#include "kernel/Sysfs.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

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
    std::error_code failure;
    return fs::exists(_root + path.toStdString(), failure);
}

QByteArray Sysfs::value(const QByteArray& device, const char* attribute) const
{
    std::ifstream file(_root + device.toStdString() + '/' + attribute);
    QByteArray text(LongestValue, '\0');
    file.read(text.data(), text.size());
    text.truncate(static_cast<int>(file.gcount()));
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
