#include "client/RemountRequest.h"

#include "process/UsageError.h"
#include "server/MountCommand.h"

namespace RemountRequest {
namespace {

[[noreturn]] void refuse(const std::string& what, const std::string& bytes, const std::string& why)
{
    throw UsageError(what + " \"" + bytes + "\" cannot be sent: " + why);
}

QString textOf(const std::string& what, const std::string& bytes)
{
    QString text = QString::fromStdString(bytes);
    if (text.toStdString() != bytes) {
        refuse(what, bytes, "only UTF-8 text arrives unchanged");
    }
    return text;
}

QString carried(const std::string& what, const std::string& bytes)
{
    QString text = textOf(what, bytes);
    for (const char separator : {'=', '|'}) {
        if (text.contains(QLatin1Char(separator))) {
            refuse(what, bytes, std::string("\"") + separator + "\" is a separator of requests");
        }
    }
    if (text != text.trimmed()) {
        refuse(what, bytes, "blanks at an end get lost");
    }
    return text;
}

} // namespace

std::string line(const std::string& path, const std::string& options)
{
    if (path.empty()) {
        refuse("the path", path, "an empty one names nothing");
    }
    const QString key = carried("the path", path);
    const QString value = carried("the options", options);
    return MountCommand(MountCommand::Remount, {{key, value}}).toString().toStdString();
}

} // namespace RemountRequest
