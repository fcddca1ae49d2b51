#include "client/StatusReport.h"

#include <algorithm>

#include <QDateTime>

#include "interfaces/ServicePaths.h"
#include "process/TerminalText.h"

namespace {

using Stage = ServiceState::Stage;

std::string line(const std::string& heading, const std::string& text)
{
    constexpr std::size_t Width = 9;
    return heading + std::string(Width - heading.size(), ' ') + TerminalText::harmless(text) + '\n';
}

std::string processOf(const ServiceState& service)
{
    if (service.process == 0) {
        return {};
    }
    const QString since =
        QDateTime::fromSecsSinceEpoch(service.since).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    return " since " + since.toStdString() + " as process " + std::to_string(service.process);
}

std::string stateOf(const ServiceState& service)
{
    switch (service.stage) {
    case Stage::Ready:
        return "runs" + processOf(service);
    case Stage::Arranging:
        return "arranges the drives" + processOf(service);
    case Stage::Absent:
        break;
    }
    return service.hasPidFile ? std::string("does not run, but has left ") + ServicePaths::PidFile
                              : "does not run";
}

std::string countOf(const Survey& survey)
{
    const auto mounted = std::count_if(survey.drives.begin(), survey.drives.end(),
                                       [](const ListedDrive& drive) { return drive.isMounted(); });
    return std::to_string(mounted) + " mounted, " +
           std::to_string(static_cast<long>(survey.drives.size()) - mounted) + " not";
}

std::string troubleOf(const Survey& survey)
{
    std::string result;
    if (!survey.surroundings.presented) {
        result += line("trouble", "the provider of devices does not answer");
    }
    for (const ListedDrive& drive : survey.drives) {
        if (drive.note && drive.note->isTrouble) {
            result += line("trouble", drive.mount.device + ": " + drive.note->reason);
        }
    }
    return result;
}

ExitStatus statusOf(const ServiceState& service, bool isTroubled)
{
    if (service.stage == Stage::Absent && !service.hasPidFile) {
        return Unreachable;
    }
    return service.stage == Stage::Ready && !isTroubled ? Done : NotDone;
}

} // namespace

StatusReport StatusReport::on(const Survey& survey, const std::string& map)
{
    const ServiceState& service = survey.surroundings.service;
    const std::string trouble = troubleOf(survey);
    return {statusOf(service, !trouble.empty()), line("service", stateOf(service)) +
                                                     line("drives", countOf(survey)) +
                                                     (service.runs() ? line("map", map) : "") + trouble};
}
