#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "server/MountCommand.h"
#include "tests/fuzz/Require.h"

/// Any bytes are a request. A parsed request can be formatted, and the line is understood again.
namespace {

void checkArguments(const MountCommand& command)
{
    const QMap<QString, QString> arguments = command.arguments();
    for (auto argument = arguments.cbegin(); argument != arguments.cend(); ++argument) {
        const QString pieces = argument.key() + argument.value();
        require(!argument.key().isEmpty(), "an argument has a key");
        require(!pieces.contains(QLatin1Char('=')) && !pieces.contains(QLatin1Char('|')),
                "no separator is left in an argument");
    }
    require(command.argument() == command.argumentPair().first, "the first key is the first of the pair");
    require(command.argument().isNull() == arguments.isEmpty(), "no arguments, no first key");
}

/// Reading trims an argument as a whole, and so what stands at its ends.
bool hasBlankAtAnEnd(const QMap<QString, QString>& arguments)
{
    const QStringList pieces = arguments.keys() + arguments.values();
    return std::any_of(pieces.begin(), pieces.end(),
                       [](const QString& piece) { return piece != piece.trimmed(); });
}

void checkFormat(const MountCommand& command)
{
    const MountCommand again(command.toString());
    require(again.command() == command.command(), "the command survives formatting");
    require(again.arguments().size() <= command.arguments().size(), "formatting adds no argument");
    require(again.arguments() == command.arguments() || hasBlankAtAnEnd(command.arguments()),
            "the arguments survive formatting");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const MountCommand command(
        QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    require(command.isValid() || command.arguments().isEmpty(), "an invalid command has no arguments");
    checkArguments(command);
    checkFormat(command);
    return 0;
}
