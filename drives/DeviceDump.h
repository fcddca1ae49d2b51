#pragma once

class DeviceProperties;

/// The block of lines that describes one device in the log.
namespace DeviceDump {

/// Writes twenty debug-level messages, one property each, and asks for each property right before it. Asks
/// nothing when the log takes no debug message: twenty questions for every device are most of a start.
void write(const DeviceProperties& device);

} // namespace DeviceDump
