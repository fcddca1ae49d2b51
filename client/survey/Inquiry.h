#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include <Poco/Pipe.h>

/// Questions that may never be answered, such as those about a file system whose driver hangs or about a disk
/// that no longer reads. A process of its own asks them, so that they neither block nor crash this one; that
/// process ends with the object, or with this process.
class Inquiry
{
public:
    using Clock = std::chrono::steady_clock;
    using Question = std::function<std::string()>;
    using Answers = std::vector<std::optional<std::string>>;

    /// A longer answer counts as none.
    static constexpr std::size_t MaxAnswer = 1048576; // bytes

    /// Starts to ask, one question after the other. They run in the other process; an exception there means:
    /// no answer. Throws Poco::SystemException or Poco::CreateFileException if no pipe or process can be
    /// created.
    explicit Inquiry(const std::vector<Question>& questions);
    explicit Inquiry(const Question& question)
        : Inquiry(std::vector<Question>{question})
    {
    }
    ~Inquiry();
    Inquiry(const Inquiry&) = delete;
    Inquiry& operator=(const Inquiry&) = delete;

    /// Waits for all answers until `end` at most. Asked once. Throws Poco::ReadFileException.
    Answers answers(Clock::time_point end);
    /// The same where there is one question.
    std::optional<std::string> answer(Clock::time_point end) { return answers(end).front(); }
    /// Whether the time was over before there were all answers, or it was clear that there will be none.
    bool isLate() const { return _isLate; }

private:
    bool readMore(Clock::time_point end);

    std::size_t _count;
    Poco::Pipe _pipe;
    pid_t _process = -1;
    std::string _received;
    bool _isLate = false;
    bool _hasEnded = false;
};
