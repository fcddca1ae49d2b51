#pragma once

class SignalRelay;

/// The program's second role.
namespace Service {

/// Arranges the drives, then mounts what comes and serves the command socket until a signal ends it and takes
/// everything down (docs/architecture.md). Returns the exit status.
int serve(const SignalRelay& signalRelay);

} // namespace Service
