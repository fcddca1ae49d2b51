#include "tests/drives/ProvidedDevices.h"

#include <csignal>
#include <fstream>
#include <stdexcept>

#include <QDBusConnection>
#include <QDBusConnectionInterface>

#include "tests/support/WaitFor.h"

namespace {

bool isOnTheBus()
{
    return QDBusConnection::systemBus().interface()->isServiceRegistered(
        QStringLiteral("org.freedesktop.UDisks"));
}

void command(const std::string& verb, const std::string& section)
{
    const ProcessResult result = runProgram({VRUDISKS, verb, section});
    if (result.status != 0) {
        throw std::runtime_error("vrudisks " + verb + " " + section + ": " + result.output);
    }
}

} // namespace

ProvidedDevices::ProvidedDevices(const std::string& machine)
{
    std::ofstream(_directory.path() + "/machine.ini") << machine;
    start();
}

void ProvidedDevices::start()
{
    const std::string log = _directory.path() + "/provider.log";
    _process = std::make_unique<Process>(
        std::vector<std::string>{VRUDISKS, "--machine", _directory.path() + "/machine.ini"}, log);
    if (!waitFor([&] { return isOnTheBus() || !_process->isRunning(); }) || !isOnTheBus()) {
        throw std::runtime_error("the provider does not start: " + _process->output());
    }
}

void ProvidedDevices::restart()
{
    _process->send(SIGKILL);
    if (!waitFor([&] { return !_process->isRunning() && !isOnTheBus(); })) {
        throw std::runtime_error("the provider does not end");
    }
    start();
}

void ProvidedDevices::plug(const std::string& section)
{
    command("plug", section);
}

void ProvidedDevices::unplug(const std::string& section)
{
    command("unplug", section);
}

QDBusObjectPath ProvidedDevices::device(const std::string& node)
{
    return QDBusObjectPath(QStringLiteral("/org/freedesktop/UDisks/devices/") + QString::fromStdString(node));
}
