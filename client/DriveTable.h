#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "client/survey/ListedDrive.h"

/// The list of drives as text.
namespace DriveTable {

struct Style
{
    bool hasColours = false;
    std::size_t width = std::numeric_limits<std::size_t>::max(); ///< columns; longer lines are cut
};

/// For the user: a heading, then a line per drive, then the remedies of their notes; columns aligned, nothing
/// of the drives that could act on a terminal.
std::string table(const std::vector<ListedDrive>& drives, const Style& style = Style());

enum class Layout
{
    Indented,
    OneLine,
};

/// For scripts: an array with an object for each drive. Bytes that are not UTF-8 are replaced.
std::string json(const std::vector<ListedDrive>& drives, Layout layout = Layout::Indented);

/// "512 B", "1.5 GiB": units of 1024, one decimal above bytes.
std::string humanSize(std::uint64_t bytes);

} // namespace DriveTable
