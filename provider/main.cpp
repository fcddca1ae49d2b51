#include <iostream>
#include <memory>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QTextCodec>

#include "process/SignalRelay.h"
#include "process/StandardStreams.h"
#include "process/UsageError.h"
#include "provider/CommandLine.h"
#include "provider/ExplainCommand.h"
#include "provider/MachineClient.h"
#include "provider/MachineControl.h"
#include "provider/UDisksService.h"
#include "provider/machine/MachineSource.h"
#include "provider/today/TodaySource.h"
#include "provider/udev/LibUdev.h"
#include "provider/udev/UdevSource.h"

namespace {

constexpr int FAILED = 1;
constexpr int MISUSED = 2;

void say(const std::string& text)
{
    std::cerr << "vrudisks: " << text << std::endl;
}

void fail(const std::string& text)
{
    say(text);
    QCoreApplication::exit(FAILED);
}

int serve(DeviceSource& source, const CommandLine& line, const QDBusConnection& bus)
{
    TodaySource today(source, line.rules);
    QObject::connect(&today, &TodaySource::noted, [](const QString& text) { say(text.toStdString()); });
    UDisksService service(today, bus);
    const auto takeName = [&] {
        if (service.takeName()) {
            const size_t count = today.devices().size();
            say("ready with " + std::to_string(count) + (count == 1 ? " device" : " devices"));
        } else {
            fail("the bus name is not to be had: another provider runs, or the bus does not permit it");
        }
    };
    // Queued: an exit that is asked for before the event loop runs would be lost.
    QObject::connect(&today, &DeviceSource::ready, &service, takeName, Qt::QueuedConnection);
    QObject::connect(&service, &UDisksService::busLost, &service, [] { fail("the system bus is gone"); });
    today.start();
    return QCoreApplication::exec();
}

int serveMachine(const CommandLine& line, const QDBusConnection& bus)
{
    MachineSource machine(line.machineFile);
    const MachineControl control(machine, bus);
    return serve(machine, line, bus);
}

int serveThisMachine(const CommandLine& line, const QDBusConnection& bus)
{
    UdevSource source(std::make_unique<LibUdev>());
    QObject::connect(&source, &UdevSource::noted, [](const QString& text) { say(text.toStdString()); });
    return serve(source, line, bus);
}

int serve(const CommandLine& line)
{
    const SignalRelay relay;
    QObject::connect(&relay, &SignalRelay::caught, [] { QCoreApplication::exit(0); });
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        throw std::runtime_error("no system bus: " + bus.lastError().message().toStdString());
    }
    return line.machineFile.empty() ? serveThisMachine(line, bus) : serveMachine(line, bus);
}

int command(const CommandLine& line)
{
    const MachineClient::Outcome outcome = MachineClient::carryOut(line, QDBusConnection::systemBus());
    if (outcome.status != 0) {
        say(outcome.message);
    }
    return outcome.status;
}

int run(const CommandLine& line)
{
    switch (line.action) {
    case CommandLine::Action::ShowHelp:
        std::cout << CommandLine::help();
        return 0;
    case CommandLine::Action::ShowVersion:
        std::cout << "vrudisks " VRUDISKS_VERSION << std::endl;
        return 0;
    case CommandLine::Action::Serve:
        return serve(line);
    case CommandLine::Action::Explain:
        std::cout << ExplainCommand::textFor(line, [](const QString& text) { say(text.toStdString()); });
        return 0;
    default:
        return command(line);
    }
}

} // namespace

int main(int argc, char** argv)
{
    completeStandardStreams();
    // Arguments and file names are UTF-8, as everything on the bus is, whatever the locale.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    const QCoreApplication application(argc, argv);
    try {
        return run(CommandLine::parse(QCoreApplication::arguments().mid(1)));
    } catch (const UsageError& error) {
        say(error.what());
        return MISUSED;
    } catch (const MachineFileError& error) {
        say(error.what());
        return MISUSED;
    } catch (const std::runtime_error& error) {
        say(error.what());
        return FAILED;
    }
}
