#pragma once

#include <cstddef>
#include <string>

/// A terminal on standard output that is drawn anew again and again; what it showed before is back when the
/// object is gone.
class Screen
{
public:
    Screen();
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// Columns; lines are to be no longer.
    static std::size_t width();
    /// What `draw` is to write for a text of lines: as many as there is room for.
    static std::string drawing(const std::string& text, std::size_t rows);
    /// False if it cannot be written.
    static bool draw(const std::string& text);
};
