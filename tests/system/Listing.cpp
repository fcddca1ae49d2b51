#include "tests/system/Listing.h"

#include <stdexcept>

#include <QJsonArray>
#include <QJsonDocument>

namespace Listing {

ProcessResult client(const std::vector<std::string>& arguments)
{
    std::vector<std::string> command{VRMOUNTCTL};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runProgram(command);
}

std::map<std::string, QJsonObject> byDevice()
{
    const ProcessResult result = runProgram({"sh", "-c", "exec \"$0\" list --json 2>/dev/null", VRMOUNTCTL});
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(result.output));
    if (!document.isArray()) {
        throw std::runtime_error("not a list: " + result.output);
    }
    std::map<std::string, QJsonObject> rows;
    for (const QJsonValue row : document.array()) {
        rows[row.toObject().value(QStringLiteral("device")).toString().toStdString()] = row.toObject();
    }
    return rows;
}

std::string text(const std::string& device, const char* member)
{
    return byDevice()[device].value(QLatin1String(member)).toString().toStdString();
}

} // namespace Listing
