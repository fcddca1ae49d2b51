#pragma once

#include <vector>

#include "client/notes/DriveFacts.h"

/// One note: when it applies, and its texts. Names of the drive stand between braces: {node}, {directory},
/// {type}, {place} (where the service would mount it), {other} (what is in its way).
struct NoteRow
{
    using Condition = bool (*)(const DriveFacts& drive);

    const char* word;
    std::vector<Condition> conditions; ///< all have to be true
    const char* reason;
    const char* remedy;
    bool isTrouble;
};

/// In each table the first row that applies is the note. A word may have several rows, whose remedies differ.
namespace NoteTable {

const std::vector<NoteRow>& ofMounted();
const std::vector<NoteRow>& ofUnmounted();

} // namespace NoteTable
