#pragma once

#include <chrono>
#include <string>

/// Waits for mounts to come and go. The kernel reports every change, so nothing is asked
/// in between, and whoever mounts is not disturbed.
class MountWatch
{
public:
    /// The mounts on all directories whose paths begin with `beginning`, which holds no blank.
    explicit MountWatch(const std::string& beginning);
    ~MountWatch();
    MountWatch(const MountWatch&) = delete;
    MountWatch& operator=(const MountWatch&) = delete;

    /// Returns when there are `mounts` of them; throws std::runtime_error when that takes longer than a
    /// bound.
    void waitFor(int mounts);

private:
    int count() const;

    std::string _column;
    int _table = -1;
};
