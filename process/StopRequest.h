#pragma once

/// Whether a signal has asked the service to end. Long operations look at it between two steps, so that a
/// partner that does not answer cannot hold the service.
namespace StopRequest {

/// Asks the service to end; stays asked. Safe in a signal handler.
void make() noexcept;
bool isMade() noexcept;

} // namespace StopRequest
