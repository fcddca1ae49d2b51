#pragma once

#include <map>
#include <string>

#include "tests/support/Process.h"
#include "tests/support/TemporaryDirectory.h"

/// The messages of a client of UDisks on the system bus, seen by a monitor of the bus.
class BusTraffic
{
public:
    struct Sent
    {
        int answered = 0;   ///< a round trip
        int unanswered = 0; ///< sent, without any answer so far
    };
    /// By method; property reads are "Get".
    using Calls = std::map<std::string, Sent>;

    /// From here on.
    BusTraffic();
    /// The calls until now of the one client, other than this process, that spoke to UDisks.
    Calls calls();

    static int roundTrips(const Calls& calls);

private:
    std::string outputAfterMark();

    TemporaryDirectory _directory;
    Process _monitor;
    int _marks = 0;
};
