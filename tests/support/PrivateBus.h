#pragma once

#include <memory>
#include <string>

#include "tests/support/Process.h"
#include "tests/support/TemporaryDirectory.h"

/// A message bus of a test's own that stands in for the system bus: DBUS_SYSTEM_BUS_ADDRESS names it in this
/// process and in every process started from it. Everybody may connect to it, and it ends with the object.
///
/// QDBusConnection::systemBus() connects once per process, on its first use: make the bus before. Where a
/// static object connects already (DriveManager's proxy), link `test_bus_before_main`, which makes one bus
/// for the whole test program before any other static object.
class PrivateBus
{
public:
    /// Every user may do everything.
    static const char* const EverythingIsPermitted;

    /// `rules` are elements of the bus's configuration. Throws std::runtime_error when no bus comes up
    /// (isAvailable says so beforehand).
    explicit PrivateBus(const std::string& rules = EverythingIsPermitted);
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /// Whether dbus-daemon is installed.
    static bool isAvailable();

    const std::string& address() const { return _address; }
    Process& daemon() { return *_daemon; }

private:
    TemporaryDirectory _directory;
    std::unique_ptr<Process> _daemon;
    std::string _address;
};
