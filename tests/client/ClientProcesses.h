#pragma once

#include <string>

#include <sys/types.h>

/// The process table's view of the client and of the child that reads its reply.
namespace ClientProcesses {

/// The child of `process`. Waits for it; throws std::runtime_error if there is none within some seconds.
pid_t childOf(pid_t process);
/// The file that descriptor `number` of `process` refers to.
std::string descriptor(pid_t process, int number);
/// The socket of `process`, to be closed, shared with it; -1 without the right to trace it. Waits as
/// `childOf`.
int socketOf(pid_t process);
/// Whether `process` waits inside connect(2). Needs root.
bool isConnecting(pid_t process);
/// Whether `process` is gone, or waits for nothing but to be reaped.
bool hasEnded(pid_t process);

} // namespace ClientProcesses
