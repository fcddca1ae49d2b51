#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// Stands in for mount(2), umount(2), umount2(2) and system(3): test programs that link `test_kernel_door`
/// reach none of them. Every call is recorded with all its arguments, each answer is the test's.
namespace KernelDoor {

/// Forgets all calls and answers; from now on every call succeeds.
void reset();

/// Every call in order, for example `mount(/dev/sdb1, /media/A, vfat, 0x0, utf8)`, `mount(/mnt/sda1,
/// /media/C:, NULL, 0x2000, NULL)`, `umount(/media/A)`, `umount2(/media/A, 1)`, `system(ntfs-3g /dev/sda1
/// /mnt/sda1)`.
std::vector<std::string> calls();

/// The result of the next call that begins with `call` (as recorded), and the errno it leaves. Answers to the
/// same call are used up in order; without one, a call returns 0.
void answer(const std::string& call, int result, int error = 0);

} // namespace KernelDoor
