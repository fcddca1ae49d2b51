#include "client/Commands.h"

#include <cerrno>
#include <cstring>
#include <iostream>

#include <unistd.h>

#include "client/DriveTable.h"
#include "client/Exchange.h"
#include "client/ListedDrive.h"
#include "client/Report.h"
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

ExitStatus list(bool json)
{
    const std::vector<ListedDrive> drives = ListedDrives::inquire(MountedDrives::read(), DriveBound);
    if (json) {
        return show(DriveTable::json(drives));
    }
    if (drives.empty()) {
        complain("nothing is mounted below /media and /mnt");
        return Done;
    }
    return show(DriveTable::table(drives));
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

} // namespace

ExitStatus carryOut(const Invocation& invocation)
{
    switch (invocation.command) {
    case Invocation::Command::Help:
        return show(CommandLine::helpText());
    case Invocation::Command::Version:
        return show(CommandLine::versionText());
    case Invocation::Command::List:
        return list(invocation.json);
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
