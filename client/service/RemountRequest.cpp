#include "client/service/RemountRequest.h"

#include <QString>

#include "process/UsageError.h"

namespace RemountRequest {
namespace {

[[noreturn]] void refuse(const std::string& what, const std::string& bytes, const std::string& why)
{
    throw UsageError(what + " \"" + bytes + "\" cannot be sent: " + why);
}

void requireThatItArrives(const std::string& what, const std::string& bytes)
{
    const QString text = QString::fromStdString(bytes);
    if (text.toStdString() != bytes) {
        refuse(what, bytes, "only UTF-8 text arrives unchanged");
    }
    for (const char separator : {'=', '|'}) {
        if (text.contains(QLatin1Char(separator))) {
            refuse(what, bytes, std::string("\"") + separator + "\" is a separator of requests");
        }
    }
    if (text != text.trimmed()) {
        refuse(what, bytes, "blanks at an end get lost");
    }
}

} // namespace

std::string line(const std::string& path, const std::string& options)
{
    if (path.empty()) {
        refuse("the path", path, "an empty one names nothing");
    }
    requireThatItArrives("the path", path);
    requireThatItArrives("the options", options);
    return "remount:" + path + (options.empty() ? "" : "=" + options) + "|";
}

} // namespace RemountRequest
