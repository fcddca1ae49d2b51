#pragma once

#include <string>

/// A process that reads a foreign disk: what it keeps when everything else is taken away.
namespace Confinement {

/// Descriptors in a confined process; nothing else is open, and 0 to 2 are /dev/null.
constexpr int Answer = 3; ///< the pipe to the parent
constexpr int Device = 4; ///< open for reading
constexpr int Memory = 5; ///< an empty file in memory
/// The path of the file in memory: the root directory holds the process's own descriptors, and nothing else.
constexpr const char* MemoryPath = "/5";

/// Leaves this process, which is root's, with `answer`, with `device` opened read-only, and without anything
/// else: it is nobody's, never gets privileges again, sees no file system, and has bounds on its memory (768
/// MiB with what it shares with its parent), on its processor time (10 s) and on what it writes. Whatever
/// needs files has to be loaded before. Throws std::system_error.
void enter(int answer, const std::string& device);

/// From now on any system call beyond reading and computing ends the process; questions to the device have no
/// answer. Throws std::system_error.
void shut();

} // namespace Confinement
