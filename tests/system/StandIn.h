#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/Files.h"
#include "tests/support/Process.h"

/// Programs that a service started with `environment` finds before the real ones.
namespace StandIn {

inline const std::string Directory = "/tmp/bin";

inline Process::Environment environment()
{
    std::filesystem::create_directories(Directory);
    return {{"PATH", Directory + ":" + std::getenv("PATH")}};
}

/// `script` is what follows the first line of a shell script.
inline void make(const std::string& name, const std::string& script)
{
    const std::string file = Directory + "/" + name;
    Files::write(file, "#!/bin/sh\n" + script);
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
}

/// A driver that begins, which the file /tmp/driving says, and goes on with `script` when there is a file
/// /tmp/go.
inline void makeDriverThatWaits(const std::string& script = "exec /usr/bin/ntfs-3g \"$@\"\n")
{
    make("ntfs-3g", "touch /tmp/driving\n"
                    "for time in $(seq 100); do [ -e /tmp/go ] && break; sleep 0.05; done\n" +
                        script);
}

inline void remove(const std::string& name)
{
    std::filesystem::remove(Directory + "/" + name);
}

} // namespace StandIn
