#include "log/Logger.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

#include <sys/stat.h>
#include <sys/time.h>

namespace Vorna {
namespace {

constexpr std::size_t BufferSize = 4096;
constexpr mode_t DirectoryMode = 0700;

using Buffer = std::array<char, BufferSize>;
using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

void makeDirectoriesOf(const std::string& file)
{
    Buffer path{};
    std::snprintf(path.data(), path.size(), "%s", file.c_str());
    const std::size_t length = std::strlen(path.data());
    if (length > 0 && path[length - 1] == '/') {
        path[length - 1] = '\0';
    }
    for (std::size_t at = 1; at < length && path[at] != '\0'; ++at) {
        if (path[at] == '/') {
            path[at] = '\0';
            mkdir(path.data(), DirectoryMode);
            path[at] = '/';
        }
    }
}

std::string baseName(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string timeStamp()
{
    timeval now{};
    gettimeofday(&now, nullptr);
    tm calendar{};
    // A live system may get its time zone after the service has started; localtime_r alone would not notice.
    tzset();
    localtime_r(&now.tv_sec, &calendar);
    std::array<char, 64> seconds{};
    std::strftime(seconds.data(), seconds.size(), "%d.%m.%Y %H:%M:%S", &calendar);
    std::array<char, 80> stamp{};
    std::snprintf(stamp.data(), stamp.size(), "<%s.%06ld>", seconds.data(), static_cast<long>(now.tv_usec));
    return stamp.data();
}

/// Ends the line, of which `length` bytes were wanted, in CR LF; a line that does not fit is cut for that.
/// Kept: a message that brings its own line feed keeps just that, without a carriage return; scripts rely on
/// the bytes.
void endLine(Buffer& line, std::size_t length)
{
    const bool fits = length < line.size();
    if (fits && length > 0 && line[length - 1] == '\n') {
        return;
    }
    std::memcpy(&line[std::min(length, line.size() - 3)], "\r\n", 3);
}

File openForAppending(const std::string& path)
{
    return {std::fopen(path.c_str(), "abe"), &std::fclose};
}

long sizeOf(std::FILE* file)
{
    std::fseek(file, 0, SEEK_END);
    return std::ftell(file);
}

File rotated(File file, const std::string& path)
{
    file.reset();
    const std::string backup = path + ".bak";
    std::remove(backup.c_str());
    std::rename(path.c_str(), backup.c_str());
    std::remove(path.c_str());
    return openForAppending(path);
}

void append(const std::string& path, unsigned maxSize, const char* line)
{
    File file = openForAppending(path);
    if (file && sizeOf(file.get()) >= static_cast<long>(maxSize)) {
        file = rotated(std::move(file), path);
    }
    if (file) {
        std::fwrite(line, 1, std::strlen(line), file.get());
        std::fflush(file.get());
    }
}

} // namespace

Logger::Logger(const std::string& file, Loglevel level, unsigned maxSize)
    : _file(file)
    , _level(level)
    , _maxSize(maxSize)
{
    makeDirectoriesOf(file);
}

Logger::~Logger() = default;

Logger* Logger::instance(const std::string& file, Loglevel level, unsigned maxSize)
{
    static Logger logger(file, level, maxSize);
    return &logger;
}

void Logger::setLogLevel(unsigned level)
{
    _level = static_cast<Loglevel>(level);
}

Loglevel Logger::loglevel() const
{
    return _level;
}

void Logger::setMaxSize(unsigned size)
{
    _maxSize = size;
}

unsigned Logger::maxSize() const
{
    return _maxSize;
}

void Logger::logString(Loglevel level, const std::string& file, const char* format, ...) const
{
    if (level > _level) {
        return;
    }
    Buffer message{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message.data(), message.size(), format, arguments);
    va_end(arguments);

    const std::lock_guard<std::mutex> guard(_lineAtATime);
    Buffer line{};
    const int length = std::snprintf(line.data(), line.size(), "%s %-25s (%i) %s", timeStamp().c_str(),
                                     baseName(file).c_str(), static_cast<int>(level), message.data());
    endLine(line, static_cast<std::size_t>(length));
    std::fputs(line.data(), stderr);
    std::fflush(stderr);
    append(_file, _maxSize, line.data());
}

void Logger::trace(const std::string& file, unsigned long line, const std::string& function) const
{
    logString(Trace, file, "[%d]%s", static_cast<int>(line), function.c_str());
}

} // namespace Vorna
