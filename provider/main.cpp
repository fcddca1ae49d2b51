#include <iostream>

#include <QCoreApplication>
#include <QTextCodec>

#include "process/ExitStatus.h"
#include "process/StandardStreams.h"
#include "process/UsageError.h"
#include "provider/ExplainCommand.h"
#include "provider/MachineClient.h"
#include "provider/ServeCommand.h"
#include "provider/machine/MachineFile.h"

namespace {

int say(const std::string& text, int status = 0)
{
    std::cerr << "vrudisks: " << text << std::endl;
    return status;
}

int run(const CommandLine& line)
{
    const auto note = [](const QString& text) { say(text.toStdString()); };
    switch (line.action) {
    case CommandLine::Action::ShowHelp:
        std::cout << CommandLine::help();
        return 0;
    case CommandLine::Action::ShowVersion:
        std::cout << "vrudisks " VRUDISKS_VERSION << std::endl;
        return 0;
    case CommandLine::Action::Serve:
        return ServeCommand::run(line, note);
    case CommandLine::Action::Explain:
        std::cout << ExplainCommand::textFor(line, note);
        return 0;
    default:
        const auto outcome = MachineClient::carryOut(line, QDBusConnection::systemBus());
        return outcome.status == 0 ? 0 : say(outcome.message, outcome.status);
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
        return say(error.what(), ExitStatus::WrongUse);
    } catch (const MachineFileError& error) {
        return say(error.what(), ExitStatus::WrongUse);
    } catch (const std::runtime_error& error) {
        return say(error.what(), ExitStatus::NotDone);
    }
}
