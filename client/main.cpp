#include <clocale>

#include <Poco/Exception.h>

#include "client/Commands.h"
#include "process/StandardStreams.h"
#include "process/UsageError.h"

int main(int argc, char** argv)
{
    completeStandardStreams();
    std::setlocale(LC_CTYPE, "C.UTF-8");
    try {
        return Commands::carryOut(CommandLine::parse({argv + 1, argv + argc}));
    } catch (const UsageError& error) {
        Commands::complain(std::string(error.what()) + " (see vrmountctl --help)");
        return WrongUse;
    } catch (const Poco::Exception& error) {
        Commands::complain(error.displayText());
        return NotDone;
    } catch (const std::exception& error) {
        Commands::complain(error.what());
        return NotDone;
    }
}
