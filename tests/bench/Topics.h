#pragma once

/// One topic each: measures and prints its tables. Every one throws std::runtime_error when something that it
/// measures does not work at all.
namespace Topics {

/// From the start of the service to the last move, for growing numbers of partitions.
void startUp();
/// From DeviceAdded to mounted.
void plug();
/// The cost of the service while nothing happens.
void idle();
/// From request to reply.
void requests();

} // namespace Topics
