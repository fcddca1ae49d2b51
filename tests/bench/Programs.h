#pragma once

#include <string>
#include <vector>

/// Runs a program to its end; the time from its start to its end in milliseconds. Throws std::runtime_error
/// when it does not end with status 0.
double runToEnd(std::vector<std::string> command);
