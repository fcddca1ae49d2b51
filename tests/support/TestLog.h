#pragma once

#include <string>

/// The log file of this test process, in a temporary directory that goes with it.
const std::string& testLogFile();
