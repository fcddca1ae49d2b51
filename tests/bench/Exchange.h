#pragma once

#include <string>

/// One request to a server on the Unix socket `path`, and its reply: what the server sends until it hangs up.
/// Throws std::system_error.
std::string exchange(const std::string& path, const std::string& request);
