#pragma once

#include <optional>
#include <string>
#include <vector>

/// Programs that are run without a shell.
namespace Program {

/// Whether `name` is found on the PATH, or where the system's own programs are.
bool isInstalled(const std::string& name);

/// Runs a program to its end; its streams are /dev/null. Its exit status; nothing if it cannot be run or a
/// signal ends it. It does not outlive the calling thread, so a caller that bounds its own life bounds the
/// program's.
std::optional<int> run(const std::vector<std::string>& command);

} // namespace Program
