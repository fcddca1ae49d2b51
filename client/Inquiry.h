#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include <sys/types.h>

#include <Poco/Pipe.h>

/// A question that may never be answered, such as one about a file system whose driver hangs or about a disk
/// that no longer reads. A process of its own asks it, so that it neither blocks nor crashes this one; that
/// process ends with the object, or with this process.
class Inquiry
{
public:
    using Clock = std::chrono::steady_clock;

    /// A longer answer counts as none.
    static constexpr std::size_t MaxAnswer = 1048576; // bytes

    /// Starts to ask. `question` runs in the other process; an exception there means: no answer. Throws
    /// Poco::SystemException or Poco::CreateFileException if no pipe or process can be created.
    explicit Inquiry(const std::function<std::string()>& question);
    ~Inquiry();
    Inquiry(const Inquiry&) = delete;
    Inquiry& operator=(const Inquiry&) = delete;

    /// Waits for the answer until `end` at most. Asked once. Throws Poco::ReadFileException.
    std::optional<std::string> answer(Clock::time_point end);
    /// Whether the time was over before there was an answer, or it was clear that there will be none.
    bool isLate() const { return _isLate; }

private:
    bool readMore(Clock::time_point end, std::string& answer);

    Poco::Pipe _pipe;
    pid_t _process = -1;
    bool _isLate = false;
    bool _hasEnded = false;
};
