#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

/// What a child writes into the pipe to its parent: numbers and texts, one after the other. The child has
/// read a foreign disk, so the parent believes nothing: each field has a bound, and nothing may follow the
/// last.

class AnswerWriter
{
public:
    AnswerWriter& number(std::uint64_t value);
    AnswerWriter& text(const std::string& value);

    const std::string& bytes() const { return _bytes; }

private:
    std::string _bytes;
};

/// The answer is not of the form that the reader expects.
class AnswerError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class AnswerReader
{
public:
    explicit AnswerReader(std::string bytes);

    /// These throw AnswerError where there is no such field, or it is beyond the bound.
    std::uint64_t number(std::uint64_t most);
    bool flag() { return number(1) == 1; }
    std::string text(std::size_t longest);
    void end() const;

private:
    std::string take(std::size_t count);

    std::string _bytes;
    std::size_t _position = 0;
};
