#pragma once

class DeviceProperties;

/// The block of lines that describes one device in the log.
namespace DeviceDump {

/// Writes twenty debug-level messages, one property each.
void write(const DeviceProperties& device);

} // namespace DeviceDump
