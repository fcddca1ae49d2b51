#include "provider/CommandLine.h"

#include <QHash>

const char* const CommandLine::HELP = R"(Usage: vrudisks [--true-major]
       vrudisks --machine FILE.ini
       vrudisks plug DEVICE
       vrudisks unplug DEVICE
       vrudisks set DEVICE PROPERTY=VALUE

Offers the D-Bus interface of UDisks 1 on the system bus: the block devices that UDisks2 knows, or those of a
made-up machine. The other forms plug, pull and change a device of the made-up machine that is being served;
DEVICE is its section of the file.

  --true-major    show internal disks that are not SCSI disks under their own major number, not as 8
  --machine FILE  serve the machine that FILE describes
  --help          show this text
  --version       show the version

Exit status: 0 done, 1 refused or failed, 2 wrong use or an error in FILE, 3 no provider answers.
See vrudisks(8) for the form of FILE.
)";

namespace {

using Action = CommandLine::Action;

[[noreturn]] void misused(const QString& reason)
{
    throw UsageError(reason.toStdString() + " (see vrudisks --help)");
}

QString takeOne(QStringList& arguments, const QString& what)
{
    if (arguments.isEmpty() || arguments.first().isEmpty()) {
        misused(QStringLiteral("%1 is missing").arg(what));
    }
    return arguments.takeFirst();
}

void takeAssignment(QStringList& arguments, CommandLine& line)
{
    const QString assignment = takeOne(arguments, QStringLiteral("PROPERTY=VALUE"));
    const int separator = assignment.indexOf(QLatin1Char('='));
    if (separator < 1) {
        misused(QStringLiteral("\"%1\" is not PROPERTY=VALUE").arg(assignment));
    }
    line.key = assignment.left(separator).trimmed();
    line.value = assignment.mid(separator + 1).trimmed();
}

Action actionOf(const QString& word)
{
    static const QHash<QString, Action> actions{
        {QStringLiteral("--true-major"), Action::Serve},
        {QStringLiteral("--machine"), Action::ServeMachine},
        {QStringLiteral("plug"), Action::Plug},
        {QStringLiteral("unplug"), Action::Unplug},
        {QStringLiteral("set"), Action::Set},
        {QStringLiteral("--help"), Action::ShowHelp},
        {QStringLiteral("--version"), Action::ShowVersion},
    };
    if (!actions.contains(word)) {
        misused(QStringLiteral("unknown argument \"%1\"").arg(word));
    }
    return actions[word];
}

} // namespace

CommandLine CommandLine::parse(QStringList arguments)
{
    CommandLine line;
    if (arguments.isEmpty()) {
        return line;
    }
    line.action = actionOf(arguments.takeFirst());
    line.showsTrueMajor = line.action == Action::Serve;
    if (line.action == Action::ServeMachine) {
        line.machineFile = takeOne(arguments, QStringLiteral("FILE")).toStdString();
    }
    if (line.action == Action::Plug || line.action == Action::Unplug || line.action == Action::Set) {
        line.section = takeOne(arguments, QStringLiteral("DEVICE"));
    }
    if (line.action == Action::Set) {
        takeAssignment(arguments, line);
    }
    if (!arguments.isEmpty()) {
        misused(QStringLiteral("unexpected argument \"%1\"").arg(arguments.first()));
    }
    return line;
}
