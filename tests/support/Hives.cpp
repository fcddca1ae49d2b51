#include "tests/support/Hives.h"

#include <stdexcept>

#include "tests/support/Process.h"

namespace Hives {

std::string make(const std::string& file, const std::vector<std::string>& settings)
{
    std::vector<std::string> command = {MAKE_HIVE, file};
    command.insert(command.end(), settings.begin(), settings.end());
    const ProcessResult result = runProgram(command);
    if (result.status != 0) {
        throw std::runtime_error(result.output);
    }
    return file;
}

} // namespace Hives
