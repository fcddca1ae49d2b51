#pragma once

#include <string>
#include <vector>

#include "log/Logger.h"

/// The log is output under test. A test says what it expects; whatever else arrives at warning level or above
/// fails it (TestMain installs the check for every test).
namespace LogWatch {

struct Line
{
    int level = 0;
    std::string source; ///< the file column
    std::string message;
};

/// Starts afresh: empties the log and sets the threshold (10: everything).
void begin(int level = 10);

/// The lines of a log file; `message` is without its CR LF and without the tab of framework messages.
std::vector<Line> parse(const std::string& content);
/// All lines since `begin`.
std::vector<Line> lines();
/// The messages of one level since `begin`.
std::vector<std::string> messages(int level);
/// The bytes of the log file since `begin`.
std::string raw();

/// Announces a message of warning level or above that the test provokes; each call covers one line of exactly
/// that level.
void expect(const std::string& message, int level = Vorna::Warning);

/// The messages of warning level or above that nobody announced.
std::vector<std::string> unexpected();

} // namespace LogWatch
