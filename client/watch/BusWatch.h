#pragma once

#include <string>

#include <sys/types.h>

#include <Poco/Pipe.h>

/// Listens to the provider in a process of its own, which sleeps until there is something to hear and ends
/// with the object, or with this process. So this process starts no thread, and may start others at any time.
class BusWatch
{
public:
    /// What is heard, as bytes.
    static constexpr char Arrival = 'a'; ///< a device, or the provider itself, has come or gone
    static constexpr char Change = 'c';  ///< a device has changed

    BusWatch();
    ~BusWatch();
    BusWatch(const BusWatch&) = delete;
    BusWatch& operator=(const BusWatch&) = delete;

    /// Readable when something was heard, or nothing will be any more.
    int descriptor() const { return _pipe.readHandle(); }
    /// Takes what was heard so far; empty when nothing will be heard any more, as without a bus.
    std::string take();

private:
    Poco::Pipe _pipe;
    pid_t _process = -1;
};
