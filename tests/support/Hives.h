#pragma once

#include <string>
#include <vector>

/// Registry files of a Windows that never was, made by tests/support/make-hive.
namespace Hives {

/// `settings` are the script's options and letters, such as "C=mbr:1234abcd:1048576". Returns `file`. Throws
/// std::runtime_error with the script's words.
std::string make(const std::string& file, const std::vector<std::string>& settings);

} // namespace Hives
