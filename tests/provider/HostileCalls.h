#pragma once

#include <string>
#include <vector>

#include "tests/provider/Stranger.h"

/// Calls that an attacker would send to end the provider.
namespace HostileCalls {

inline const std::string Daemon = "org.freedesktop.UDisks";
inline const std::string Device = "org.freedesktop.UDisks.Device";
inline const std::string Properties = "org.freedesktop.DBus.Properties";
inline const std::string MachineInterface = "org.vorna.vrudisks.Machine";
inline const std::string DaemonPath = "/org/freedesktop/UDisks";
inline const std::string DevicePath = DaemonPath + "/devices/sda1";
inline const std::string MachinePath = "/org/vorna/vrudisks/Machine";

/// Objects of every kind, and places where there is none.
const std::vector<std::string>& paths();
/// The content of the arguments.
const std::vector<std::string>& words();

struct Member
{
    std::string interface;
    std::string name;
    std::string signature;
};

/// Methods that exist and methods that do not, each with the arguments that it takes.
const std::vector<Member>& members();
/// None, too few, the right, too many and other arguments.
std::vector<std::string> signaturesFor(const Member& member);

/// A call, or now and then a signal that looks like one.
Stranger::Message randomMessage(Stranger::Random& random);

} // namespace HostileCalls
