#include "client/watch/Screen.h"

#include <algorithm>
#include <iostream>
#include <sstream>
#include <vector>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr const char* Enter = "\x1b[?1049h\x1b[?25l"; // another page, and no cursor
constexpr const char* Leave = "\x1b[?25h\x1b[?1049l";
constexpr const char* Home = "\x1b[H";
constexpr const char* ClearLine = "\x1b[K";
constexpr const char* ClearRest = "\x1b[J";

winsize size()
{
    constexpr winsize Usual = {24, 80, 0, 0};
    winsize result = {};
    const bool isKnown =
        ioctl(STDOUT_FILENO, TIOCGWINSZ, &result) == 0 && result.ws_row > 0 && result.ws_col > 0;
    return isKnown ? result : Usual;
}

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace

Screen::Screen()
{
    std::cout << Enter << std::flush;
}

Screen::~Screen()
{
    std::cout << Leave << std::flush;
}

std::size_t Screen::width()
{
    return size().ws_col;
}

std::string Screen::drawing(const std::string& text, std::size_t rows)
{
    std::vector<std::string> lines = linesOf(text);
    if (lines.size() > rows && rows > 0) {
        const std::size_t left = lines.size() - rows + 1;
        lines.resize(rows);
        lines.back() = "... " + std::to_string(left) + " more";
    }
    std::string result = Home;
    for (std::size_t at = 0; at < lines.size(); ++at) {
        result += (at == 0 ? "" : "\r\n") + lines[at] + ClearLine;
    }
    return result + ClearRest;
}

bool Screen::draw(const std::string& text)
{
    return bool(std::cout << drawing(text, size().ws_row) << std::flush);
}
