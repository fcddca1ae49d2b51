#pragma once

/// Whether the connected Unix socket `descriptor` still waits in the queue of the socket that it is connected
/// to, which has not accepted it. The kernel answers (sock_diag(7)); when it cannot, the answer is no. A
/// connection that the other side has closed may look like one that waits. Never throws.
bool waitsInQueue(int descriptor);
