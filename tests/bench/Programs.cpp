#include "tests/bench/Programs.h"

#include <stdexcept>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/bench/Figures.h"

using Figures::Clock;

double runToEnd(std::vector<std::string> command)
{
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (std::string& argument : command) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    pid_t child = 0;
    int status = 0;
    const auto start = Clock::now();
    if (posix_spawnp(&child, arguments.front(), nullptr, nullptr, arguments.data(), environ) != 0 ||
        waitpid(child, &status, 0) != child || status != 0) {
        throw std::runtime_error(command.front() + " fails");
    }
    return Figures::milliseconds(Clock::now() - start);
}
