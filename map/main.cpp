#include <clocale>

#include <QCoreApplication>

#include "map/Commands.h"
#include "process/ExitStatus.h"
#include "process/StandardStreams.h"
#include "process/UsageError.h"

int main(int argc, char** argv)
{
    completeStandardStreams();
    std::setlocale(LC_CTYPE, "C.UTF-8");
    const QCoreApplication application(argc, argv);
    try {
        return Commands::carryOut(CommandLine::parse({argv + 1, argv + argc}));
    } catch (const UsageError& error) {
        Commands::complain(std::string(error.what()) + " (see vrdrivesmap --help)");
        return WrongUse;
    } catch (const std::exception& error) {
        Commands::complain(error.what());
        return NotDone;
    }
}
