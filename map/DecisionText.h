#pragma once

#include <string>

#include "map/Decision.h"

/// A decision as text.
namespace DecisionText {

/// For the user: a table, columns aligned, then a line per note; nothing that could act on a terminal.
std::string table(const Decision& decision);

/// For scripts: an object with "letters", "notes", "map" (the text, or null) and "bytesRead".
std::string json(const Decision& decision);

} // namespace DecisionText
