#pragma once

#include <cstddef>
#include <string>

/// Text from foreign media and other programs, made fit for a terminal.
namespace TerminalText {

/// `text` with every control and formatting character, such as a line feed, an escape or a change of the
/// writing direction, written as its bytes: "\x0a". Of a text that is not UTF-8 every byte outside ASCII is
/// written so.
std::string harmless(const std::string& text);

/// The number of columns that `text`, in UTF-8 and harmless, takes. Needs a locale with UTF-8 characters;
/// without it each character outside ASCII counts as one.
std::size_t columns(const std::string& text);

/// The beginning of such a text that takes at most `most` columns.
std::string cut(const std::string& text, std::size_t most);

} // namespace TerminalText
