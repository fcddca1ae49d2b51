#include "tests/support/MachineProvider.h"

#include <fstream>
#include <stdexcept>

#include <QDBusConnection>
#include <QDBusMessage>

#include "tests/support/WaitFor.h"

namespace {

std::string written(const std::string& file, const std::string& text)
{
    std::ofstream(file) << text;
    return file;
}

std::vector<std::string> command(const std::string& file, const std::vector<std::string>& options)
{
    std::vector<std::string> result = {MachineProvider::Program, "--machine", file};
    result.insert(result.end(), options.begin(), options.end());
    return result;
}

void call(const char* method, const std::vector<std::string>& arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.UDisks"), QStringLiteral("/org/vorna/vrudisks/Machine"),
        QStringLiteral("org.vorna.vrudisks.Machine"), QString::fromLatin1(method));
    for (const std::string& argument : arguments) {
        message << QString::fromStdString(argument);
    }
    const QDBusMessage reply = QDBusConnection::systemBus().call(message);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        throw std::runtime_error(reply.errorMessage().toStdString());
    }
}

} // namespace

const std::string MachineProvider::Program = VRUDISKS;

MachineProvider::MachineProvider(const std::string& machine, const std::vector<std::string>& options)
    : _process(command(written(_directory.path() + "/machine.ini", machine), options),
               _directory.path() + "/output")
{
    const auto isReady = [this] { return _process.output().find("ready with") != std::string::npos; };
    if (!waitFor([&] { return isReady() || !_process.isRunning(); }) || !_process.isRunning()) {
        throw std::runtime_error("no provider: " + _process.output());
    }
}

void MachineProvider::plug(const std::string& section)
{
    call("Plug", {section});
}

void MachineProvider::unplug(const std::string& section)
{
    call("Unplug", {section});
}

void MachineProvider::set(const std::string& section, const std::string& key, const std::string& value)
{
    call("Set", {section, key, value});
}
