#pragma once

#include <atomic>
#include <mutex>
#include <string>

namespace Vorna {

/// Level of a message and threshold of the logger. Any integer is a valid threshold (`log=` on the command
/// line stores what it is given), hence the fixed underlying type.
enum Loglevel : int
{
    Fatal = 1,
    Critical = 2,
    Warning = 5,
    Debug = 7,
    Trace = 10,
};

/// Appends lines to one log file and copies each to standard error.
///
/// A line reads "<day.month.year hours:minutes:seconds.microseconds> source (level) message" and ends in CR
/// LF. The file is opened and closed for every line. Before a line is added to a file that holds `maxSize`
/// bytes or more, the file is renamed to its own name plus ".bak", replacing an earlier backup.
///
/// Never throws and never reports: a line that cannot be written to the file is on standard error only. Lines
/// longer than 4095 bytes are cut. All operations may be called from any thread.
class Logger
{
public:
    Logger() = default;
    /// Creates the directories that `file` lies in, mode 0700, as far as they are missing.
    Logger(const std::string& file, Loglevel level, unsigned maxSize);
    virtual ~Logger();

    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    /// The process-wide logger. The first call makes it; the arguments of later calls are ignored.
    static Logger* instance(const std::string& file, Loglevel level, unsigned maxSize);

    void setLogLevel(unsigned level);
    Loglevel loglevel() const;

    /// Size in bytes from which on the file is rotated.
    void setMaxSize(unsigned size);
    unsigned maxSize() const;

    /// Writes one line, if `level` is at or below the threshold. `file` is shown without its directory;
    /// `format` and what follows are those of printf.
    void logString(Loglevel level, const std::string& file, const char* format, ...) const
        __attribute__((format(printf, 4, 5)));

    /// Records at level Trace that the operation `function` was entered at `line` of `file`.
    void trace(const std::string& file, unsigned long line, const std::string& function) const;

private:
    std::string _file;
    std::atomic<Loglevel> _level{Fatal};
    std::atomic<unsigned> _maxSize{0};
    mutable std::mutex _lineAtATime;
};

} // namespace Vorna
