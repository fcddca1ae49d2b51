#pragma once

#include <cstdint>
#include <limits>
#include <string>

#include "map/reader/Registry.h"

/// What is on a partition, as the child reports it that has read it.
struct WindowsFinding
{
    enum class Trouble : std::uint8_t
    {
        None,
        NoFileSystem,     ///< nothing of the rest
        MapTooLarge,      ///< the map is left out
        MapUnreadable,    ///< the same
        RegistryTooLarge, ///< the registry is left out
        RegistryDamaged,  ///< the same
    };

    Trouble trouble = Trouble::None; ///< the last one
    std::string mapPath;             ///< of the drives map, from the root; empty: there is none
    std::string map;                 ///< its very bytes
    bool hasRegistry = false;
    Registry registry;
    std::uint64_t bytesRead = 0; ///< from the device
};

/// The form in which it goes through a pipe, and back. The latter throws AnswerError for whatever no child of
/// this program would say.
std::string toAnswer(const WindowsFinding& finding);
WindowsFinding findingOf(const std::string& answer);

/// The longest answer, in bytes.
constexpr std::size_t LongestMap = 4194304;
constexpr std::size_t LongestAnswer = LongestMap + 65536;
