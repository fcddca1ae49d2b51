#pragma once

#include <optional>
#include <string>
#include <vector>

#include "client/notes/DriveFacts.h"

/// Why a drive is not as one would expect it, and what to do about it.
struct Note
{
    std::string word;       ///< for scripts; it stays as it is
    std::string reason;     ///< half a sentence
    std::string remedy;     ///< one sentence; names in commands are quoted for the shell
    bool isTrouble = false; ///< the service would have mounted it otherwise
};

namespace Notes {

/// The most important note on a drive, if there is anything to say.
std::optional<Note> on(const DriveFacts& drive);

/// Every word there is, in the order of the table, each once.
std::vector<std::string> words();

} // namespace Notes
