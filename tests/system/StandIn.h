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

inline void remove(const std::string& name)
{
    std::filesystem::remove(Directory + "/" + name);
}

} // namespace StandIn
