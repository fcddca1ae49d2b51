#include "provider/ServeCommand.h"

#include <memory>
#include <stdexcept>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>

#include "process/ExitStatus.h"
#include "process/SignalRelay.h"
#include "provider/MachineControl.h"
#include "provider/UDisksService.h"
#include "provider/machine/MachineSource.h"
#include "provider/today/TodaySource.h"
#include "provider/udev/LibUdev.h"
#include "provider/udev/UdevSource.h"

namespace ServeCommand {
namespace {

using Note = std::function<void(const QString& text)>;

void fail(const QString& text, const Note& note)
{
    note(text);
    QCoreApplication::exit(ExitStatus::NotDone);
}

QString readyWith(std::size_t devices)
{
    return QStringLiteral("ready with %1 %2")
        .arg(QString::number(devices), devices == 1 ? QStringLiteral("device") : QStringLiteral("devices"));
}

int serve(DeviceSource& source, const Rules::Selection& rules, const QDBusConnection& bus, const Note& note)
{
    TodaySource today(source, rules);
    QObject::connect(&today, &TodaySource::noted, note);
    UDisksService service(today, bus);
    const auto takeName = [&] {
        if (service.takeName()) {
            note(readyWith(today.devices().size()));
        } else {
            fail(QStringLiteral(
                     "cannot acquire the bus name: another provider owns it, or the bus does not permit it"),
                 note);
        }
    };
    // Queued: an exit that is asked for before the event loop runs would be lost.
    QObject::connect(&today, &DeviceSource::ready, &service, takeName, Qt::QueuedConnection);
    QObject::connect(&service, &UDisksService::busLost, &service,
                     [&] { fail(QStringLiteral("the system bus is gone"), note); });
    today.start();
    return QCoreApplication::exec();
}

int serveMachine(const CommandLine& line, const QDBusConnection& bus, const Note& note)
{
    MachineSource machine(line.machineFile);
    const MachineControl control(machine, bus);
    return serve(machine, line.rules, bus, note);
}

int serveThisMachine(const CommandLine& line, const QDBusConnection& bus, const Note& note)
{
    UdevSource source(std::make_unique<LibUdev>());
    QObject::connect(&source, &UdevSource::noted, note);
    return serve(source, line.rules, bus, note);
}

} // namespace

int run(const CommandLine& line, const Note& note)
{
    const SignalRelay relay;
    QObject::connect(&relay, &SignalRelay::caught, [] { QCoreApplication::exit(0); });
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        throw std::runtime_error("no system bus: " + bus.lastError().message().toStdString());
    }
    return line.machineFile.empty() ? serveThisMachine(line, bus, note) : serveMachine(line, bus, note);
}

} // namespace ServeCommand
