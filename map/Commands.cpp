#include "map/Commands.h"

#include <cstdio>
#include <stdexcept>

#include <unistd.h>

#include "map/Decision.h"
#include "map/DecisionText.h"
#include "map/Devices.h"
#include "map/MapPlace.h"
#include "process/ExitStatus.h"
#include "process/TerminalText.h"

namespace Commands {
namespace {

int say(const std::string& text)
{
    const bool isWritten = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    return isWritten ? 0 : 1;
}

Decision decideOn(const Invocation& invocation)
{
    if (geteuid() != 0) {
        throw std::runtime_error("needs root to read the disks");
    }
    const Wanted wanted = invocation.fromRegistry ? Wanted::Registry : Wanted::MapOrRegistry;
    return decide(surveyOf(readVolumes(), wanted, invocation.windows));
}

/// Whatever this program has written before goes where no map follows now, and where the map of somebody else
/// counts: of two maps the service might find the wrong one first.
void put(const MapPlace& place, Decision& decision)
{
    const QString foreign = place.foreignMap();
    if (!foreign.isEmpty()) {
        decision.notes +=
            QStringLiteral("%1 is not from this program and counts; nothing is written").arg(foreign);
        place.remove();
    } else if (!decision.map.isEmpty()) {
        place.write(decision.map);
        decision.notes += QStringLiteral("%1: written").arg(place.path());
    } else if (place.remove()) {
        decision.notes += QStringLiteral("%1: removed, it was written for another machine").arg(place.path());
    }
}

int write(const Invocation& invocation)
{
    const MapPlace place;
    Decision decision;
    try {
        decision = decideOn(invocation);
    } catch (const std::runtime_error&) {
        place.remove();
        throw;
    }
    put(place, decision);
    return say(invocation.json ? DecisionText::json(decision) : DecisionText::table(decision));
}

int show(const Invocation& invocation)
{
    const Decision decision = decideOn(invocation);
    return say(invocation.json ? DecisionText::json(decision) : DecisionText::table(decision));
}

} // namespace

int carryOut(const Invocation& invocation)
{
    switch (invocation.command) {
    case Invocation::Command::Help:
        return say(CommandLine::helpText());
    case Invocation::Command::Version:
        return say(CommandLine::versionText());
    case Invocation::Command::Show:
        return show(invocation);
    case Invocation::Command::Write:
        return write(invocation);
    }
    return ExitStatus::NotDone;
}

void complain(const std::string& sentence)
{
    std::fputs(("vrdrivesmap: " + TerminalText::harmless(sentence) + "\n").c_str(), stderr);
}

} // namespace Commands
