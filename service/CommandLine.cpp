#include "service/CommandLine.h"

#include "log/LogText.h"
#include "log/Trace.h"

namespace CommandLine {
namespace {

/// "log=" may stand anywhere in an argument. Kept: what is left when it is taken out is the level, 0 if that
/// is not a number, so "xlog=7" silences the log.
void applyLogLevel(QString argument)
{
    const QLatin1String word("log=");
    if (argument.contains(word)) {
        argument.remove(word);
        g_dbgR->setLogLevel(static_cast<unsigned>(argument.toInt()));
    }
}

} // namespace

void apply(const QStringList& arguments)
{
    for (const QString& argument : arguments) {
        LogText::warning(QStringLiteral("Application argument: %1").arg(argument));
        applyLogLevel(argument);
    }
    LogText::warning(QStringLiteral("Set default log level: %1").arg(static_cast<int>(g_dbgR->loglevel())));
}

} // namespace CommandLine
