#include "process/StopRequest.h"

#include <atomic>

namespace StopRequest {
namespace {

std::atomic<bool> requested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler writes it");

} // namespace

void make() noexcept
{
    requested.store(true);
}

bool isMade() noexcept
{
    return requested.load();
}

} // namespace StopRequest
