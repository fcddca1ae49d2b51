#include "tests/support/BusBeforeMain.h"

#include <memory>

namespace {

/// Earlier than any static object without a priority of its own.
__attribute__((init_priority(200))) const std::unique_ptr<PrivateBus> theBus =
    PrivateBus::isAvailable() ? std::make_unique<PrivateBus>() : nullptr;

} // namespace

PrivateBus* busBeforeMain()
{
    return theBus.get();
}
