#include "client/survey/MapOrigin.h"

#include <fstream>
#include <sstream>

#include <sys/stat.h>

#include <QFile>

#include "interfaces/MapFiles.h"
#include "interfaces/ServicePaths.h"

namespace MapOrigin {
namespace {

/// The service takes a larger one for empty.
constexpr std::streamsize SizeLimit = 4194304; // 4 MiB
/// The start is known by the clock's ticks since boot, and files by another clock.
constexpr long ClockDifference = 2; // seconds

/// As the copy has it: without backslashes.
std::string content(const std::string& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::string result;
    for (char byte = 0; static_cast<std::streamsize>(result.size()) <= SizeLimit && stream.get(byte);) {
        if (byte != '\\') {
            result += byte;
        }
    }
    return result;
}

/// A copy that an earlier service has left says nothing.
bool isOfThisStart(long since)
{
    struct stat about = {};
    return lstat(ServicePaths::DrivesMapCopy, &about) == 0 && S_ISREG(about.st_mode) &&
           about.st_mtime + ClockDifference >= since;
}

/// A program that writes a map signs it in a comment on its first line.
std::string signature(const std::string& map)
{
    std::string line;
    std::getline(std::istringstream(map), line);
    return line.rfind("; ", 0) == 0 ? " (" + line.substr(2) + ")" : std::string();
}

} // namespace

std::string ask(long since)
{
    if (!isOfThisStart(since)) {
        return "none was found at the start: letters in the order of the disks";
    }
    const std::string copy = content(ServicePaths::DrivesMapCopy);
    const QString file = MapFiles::first(QString::fromLatin1(MapFiles::Mounts), [&](const QString& path) {
        return content(QFile::encodeName(path).toStdString()) == copy;
    });
    return (file.isEmpty() ? "one that is no longer below /mounts" : file.toStdString()) + signature(copy);
}

} // namespace MapOrigin
