#pragma once

#include <string>

/// The drives map that the letters came from.
namespace MapOrigin {

/// One clause about it: the file below /mounts whose copy the service has made at its start, which was at
/// `since`, in seconds since 1970. To be called in a process of its own, as an Inquiry: what is mounted below
/// /mounts may hang.
std::string ask(long since);

} // namespace MapOrigin
