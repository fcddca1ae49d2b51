#include "client/Commands.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include <unistd.h>

#include "client/DriveTable.h"
#include "client/EjectCommand.h"
#include "client/Report.h"
#include "client/StatusReport.h"
#include "client/WatchCommand.h"
#include "client/service/Exchange.h"
#include "client/survey/Inquiry.h"
#include "client/survey/MapOrigin.h"
#include "client/survey/Survey.h"
#include "process/TerminalText.h"

namespace Commands {
namespace {

constexpr std::chrono::seconds DriveBound(2);

ExitStatus show(const std::string& text, ExitStatus status = Done)
{
    errno = 0;
    if (std::cout << text << std::flush) {
        return status;
    }
    complain(std::string("cannot write the output: ") + std::strerror(errno));
    return status == Done ? NotDone : status;
}

/// Colours are for somebody who looks at them, and does not mind.
bool hasColours()
{
    const char* refusal = std::getenv("NO_COLOR");
    const bool isRefused = refusal != nullptr && *refusal != '\0';
    return isatty(STDOUT_FILENO) != 0 && !isRefused;
}

Survey look(const Invocation& invocation)
{
    Survey survey = Surveyor(invocation.socket, DriveBound).look();
    for (const std::string& gap : survey.gaps) {
        complain(gap);
    }
    return survey;
}

ExitStatus list(const Invocation& invocation)
{
    if (invocation.watch) {
        return WatchCommand::run(invocation, hasColours());
    }
    const Survey survey = look(invocation);
    if (invocation.json) {
        return show(DriveTable::json(survey.drives));
    }
    if (survey.drives.empty()) {
        complain("there are no drives");
        return Done;
    }
    return show(DriveTable::table(survey.drives, {hasColours()}));
}

ExitStatus status(const Invocation& invocation)
{
    const Survey survey = look(invocation);
    const long since = survey.surroundings.service.since;
    Inquiry map([since] { return MapOrigin::ask(since); });
    const auto end = Inquiry::Clock::now() + DriveBound;
    const StatusReport report = StatusReport::on(
        survey, map.answer(end).value_or("not known: what is below /mounts does not answer"));
    return show(report.text, report.status);
}

/// Other programs get the reply's very bytes.
std::string shownReply(const std::string& reply)
{
    return (isatty(STDOUT_FILENO) != 0 ? TerminalText::harmless(reply) : reply) + '\n';
}

ExitStatus send(const Invocation& invocation)
{
    const Exchange::Outcome outcome =
        Exchange::run(invocation.socket, invocation.request, invocation.timeout);
    const Report report = reportOn(outcome, invocation.socket);
    const ExitStatus status =
        report.output.empty() ? report.status : show(shownReply(report.output), report.status);
    if (!report.complaint.empty()) {
        complain(report.complaint);
    }
    return status;
}

ExitStatus eject(const Invocation& invocation)
{
    const EjectCommand::Result result = EjectCommand::run(invocation.target, invocation.socket);
    if (!result.complaint.empty()) {
        complain(result.complaint);
    }
    return result.output.empty() ? result.status
                                 : show(TerminalText::harmless(result.output) + '\n', result.status);
}

} // namespace

ExitStatus carryOut(const Invocation& invocation)
{
    switch (invocation.command) {
    case Invocation::Command::Help:
        return show(CommandLine::helpText());
    case Invocation::Command::Version:
        return show(CommandLine::versionText());
    case Invocation::Command::List:
        return list(invocation);
    case Invocation::Command::Status:
        return status(invocation);
    case Invocation::Command::Eject:
        return eject(invocation);
    case Invocation::Command::Send:
        return send(invocation);
    }
    return WrongUse;
}

void complain(const std::string& line)
{
    std::cerr << "vrmountctl: " + TerminalText::harmless(line) + '\n';
}

} // namespace Commands
