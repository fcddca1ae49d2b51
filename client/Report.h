#pragma once

#include <string>

#include "client/Exchange.h"
#include "client/ExitStatus.h"

/// What a person is told about an exchange.
struct Report
{
    ExitStatus status = Done;
    std::string output;    ///< for standard output; empty: nothing
    std::string complaint; ///< one line for standard error, without its end; empty: nothing
};

/// The report on what came of a request sent to the socket at `path`.
Report reportOn(const Exchange::Outcome& outcome, const std::string& path);
