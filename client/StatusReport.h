#pragma once

#include <string>

#include "client/survey/Survey.h"
#include "process/ExitStatus.h"

/// `vrmountctl status`: the service, its drives, the map of their letters, and what is wrong.
struct StatusReport
{
    ExitStatus status = Done;
    std::string text; ///< lines for the user, harmless for a terminal

    /// `map` is a clause about the drives map.
    static StatusReport on(const Survey& survey, const std::string& map);
};
