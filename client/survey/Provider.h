#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A device as the provider of UDisks 1 presents it to the service.
struct PresentedDevice
{
    std::string node;
    std::string disk; ///< the node of the disk that a partition is on; empty if it is not presented itself
    std::string usage;
    std::string type;
    std::string label;
    std::string uuid;
    std::string partitionType;
    std::int64_t majorNumber = 0;
    std::uint64_t size = 0;    ///< bytes; 0 without a medium
    std::int64_t detected = 0; ///< when it appeared, in seconds since 1970; 0 if that is not known
    bool isPartition = false;
    bool isInternal = false;
};

/// The provider that owns "org.freedesktop.UDisks" on the system bus. It is never started by a question.
namespace Provider {

/// Asks for every device. To be called in a process of its own, as an Inquiry: it waits for as long as the
/// bus does. Throws std::runtime_error if there is no bus or no provider.
std::string ask();
/// What `ask` has answered.
std::vector<PresentedDevice> read(const std::string& answer);

} // namespace Provider
