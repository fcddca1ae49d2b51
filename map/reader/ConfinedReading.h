#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

/// A device, and what a confined process is to find out about it (see Confinement.h).
struct ReadingTask
{
    using Work = std::function<std::string()>;

    std::string device;
    /// Runs in the confined process, with the descriptors of Confinement, before that is shut: it may ask the
    /// kernel about the device, and reads nothing of it yet. May throw std::system_error. What it returns
    /// reads the device, and returns the answer.
    std::function<Work()> prepare;
};

/// What has become of a task.
struct ReadingOutcome
{
    bool isAnswered = false;
    /// The answer, or for the user the reason why there is none. An answer comes from a process that has read
    /// a foreign disk, and may be anything.
    std::string text;
};

/// Carries out the tasks, each in a confined process of its own and all at the same time. What takes longer
/// than `bound`, writes more than `longestAnswer` bytes or dies costs its own answer only: it is ended and
/// not waited for, since nothing ends a process that waits for a dying disk.
std::vector<ReadingOutcome> carryOut(const std::vector<ReadingTask>& tasks, std::chrono::milliseconds bound,
                                     std::size_t longestAnswer);
