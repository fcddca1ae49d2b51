#pragma once

#include <string>

#include <sys/types.h>

/// What can be known of the service without a word to it.
struct ServiceState
{
    enum class Stage
    {
        Absent,
        Arranging, ///< it runs, and takes no commands yet
        Ready,
    };

    Stage stage = Stage::Absent;
    pid_t process = 0;       ///< 0 where it is not known
    long since = 0;          ///< when it started, in seconds since 1970; 0 where that is not known
    bool hasPidFile = false; ///< of this service, or left behind by one that is gone

    bool runs() const { return stage != Stage::Absent; }
};

namespace Service {

/// Looks at the pid file, the processes and the sockets. Nobody connects to `socket` to find out: the service
/// ends when a client leaves without a request. Never throws.
ServiceState look(const std::string& socket);

} // namespace Service
