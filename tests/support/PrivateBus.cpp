#include "tests/support/PrivateBus.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <QStandardPaths>

#include "tests/support/WaitFor.h"

namespace {

constexpr const char* AddressVariable = "DBUS_SYSTEM_BUS_ADDRESS";

std::string writeConfiguration(const std::string& directory, const std::string& rules)
{
    std::string file = directory + "/bus.conf";
    std::ofstream(file) << "<busconfig><type>system</type><listen>unix:path=" << directory
                        << "/bus</listen><auth>EXTERNAL</auth>" << rules << "</busconfig>";
    return file;
}

/// Lets other users reach the bus's socket.
void open(const std::string& directory)
{
    using std::filesystem::perms;
    std::filesystem::permissions(directory, perms::owner_all | perms::group_exec | perms::others_exec);
}

} // namespace

const char* const PrivateBus::EverythingIsPermitted =
    "<policy context=\"default\"><allow user=\"*\"/><allow own=\"*\"/>"
    "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/></policy>";

PrivateBus::PrivateBus(const std::string& rules)
{
    open(_directory.path());
    const std::string configuration = writeConfiguration(_directory.path(), rules);
    _daemon = std::make_unique<Process>(std::vector<std::string>{"dbus-daemon", "--nofork", "--print-address",
                                                                 "--config-file", configuration},
                                        _directory.path() + "/output");
    const auto hasPrintedItsAddress = [this] { return _daemon->output().find('\n') != std::string::npos; };
    if (!waitFor([&] { return hasPrintedItsAddress() || !_daemon->isRunning(); }) || !_daemon->isRunning()) {
        throw std::runtime_error("no private bus: " + _daemon->output());
    }
    const std::string output = _daemon->output();
    _address = output.substr(0, output.find('\n'));
    setenv(AddressVariable, _address.c_str(), 1);
}

PrivateBus::~PrivateBus()
{
    unsetenv(AddressVariable);
}

bool PrivateBus::isAvailable()
{
    return !QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty();
}
