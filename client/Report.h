#pragma once

#include <string>

#include "client/service/Exchange.h"
#include "process/ExitStatus.h"

/// The result of an exchange, for the user.
struct Report
{
    ExitStatus status = Done;
    std::string output;    ///< for standard output; empty: nothing
    std::string complaint; ///< one line for standard error, without its end; empty: nothing
};

/// The report on a request that was sent to the socket at `path`.
Report reportOn(const Exchange::Outcome& outcome, const std::string& path);
