#pragma once

/// Where the service is reached, where it leaves what others read, and where it mounts.
namespace ServicePaths {

constexpr const char* CommandSocket = "/tmp/vrmount";
constexpr const char* PidFile = "/var/run/vrmountdrives.pid";
constexpr const char* DrivesMapCopy = "/tmp/drives.ini";
constexpr const char* Log = "/var/log/vorna/vrmountdrives.log";

/// For drives that have a name for the user: a letter or a label.
constexpr const char* FinalRoot = "/media";
/// For all others, and for each until its name is known.
constexpr const char* TemporaryRoot = "/mnt";

} // namespace ServicePaths
