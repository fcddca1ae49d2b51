#include "map/reader/Answer.h"

#include <cstring>

AnswerWriter& AnswerWriter::number(std::uint64_t value)
{
    char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    _bytes.append(bytes, sizeof value);
    return *this;
}

AnswerWriter& AnswerWriter::text(const std::string& value)
{
    number(value.size());
    _bytes += value;
    return *this;
}

AnswerReader::AnswerReader(std::string bytes)
    : _bytes(std::move(bytes))
{
}

std::uint64_t AnswerReader::number(std::uint64_t most)
{
    std::uint64_t value = 0;
    std::memcpy(&value, take(sizeof value).data(), sizeof value);
    if (value > most) {
        throw AnswerError("a number beyond its bound");
    }
    return value;
}

std::string AnswerReader::text(std::size_t longest)
{
    return take(number(longest));
}

void AnswerReader::end() const
{
    if (_position != _bytes.size()) {
        throw AnswerError("more than was asked for");
    }
}

std::string AnswerReader::take(std::size_t count)
{
    if (count > _bytes.size() - _position) {
        throw AnswerError("less than was asked for");
    }
    _position += count;
    return _bytes.substr(_position - count, count);
}
