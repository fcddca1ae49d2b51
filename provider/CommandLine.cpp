#include "provider/CommandLine.h"

#include <optional>
#include <sstream>

#include <QHash>

#include "process/UsageError.h"

namespace {

using Action = CommandLine::Action;

constexpr const char* HelpBegin = R"(Usage: vrudisks [--as-is[=ROW,...]] [--explain [NODE]]
       vrudisks --machine FILE.ini [--as-today [--as-is=ROW,...]] [--explain [NODE]]
       vrudisks plug DEVICE
       vrudisks unplug DEVICE
       vrudisks set DEVICE PROPERTY=VALUE

Offers the D-Bus interface of UDisks 1 on the system bus: the block devices of this machine, or those of a
simulated machine. The other forms plug, pull and change a device of the simulated machine that is being
served; DEVICE is its section of the file.

  --as-is         present every device as it is: turn off all rows of the table below
  --as-is=ROW,... turn off these rows only
  --machine FILE  serve the machine that FILE describes, as it is
  --as-today      apply the table to that machine too
  --explain NODE  say what is presented of the device, or of every device, and why; serve nothing
  --help          show this text
  --version       show the version

What today's machines have otherwise than programs of UDisks 1's days expect is presented by this table:

)";

constexpr const char* HelpEnd = R"(
Exit status: 0 done, 1 refused or failed, 2 wrong use or an error in FILE, 3 no provider answers.
See vrudisks(8) for the form of FILE.
)";

[[noreturn]] void misused(const QString& reason)
{
    throw UsageError(reason.toStdString() + " (see vrudisks --help)");
}

/// The arguments that are left, from the first to the last.
class Arguments
{
public:
    explicit Arguments(QStringList words)
        : _words(std::move(words))
    {
    }

    bool isEmpty() const { return _words.isEmpty(); }
    QString take() { return _words.takeFirst(); }

    QString takeRequired(const char* what)
    {
        if (_words.isEmpty() || _words.first().isEmpty()) {
            misused(QStringLiteral("%1 is missing").arg(QLatin1String(what)));
        }
        return take();
    }

    /// Nothing, if an option follows.
    QString takeOptional()
    {
        return isEmpty() || _words.first().startsWith(QLatin1Char('-')) ? QString() : take();
    }

private:
    QStringList _words;
};

/// The part that has been read so far.
struct Draft
{
    CommandLine line;
    bool isAsToday = false;
    std::optional<QStringList> rowsOff; ///< empty: all
};

void takeMachine(Draft& draft, Arguments& arguments)
{
    draft.line.machineFile = arguments.takeRequired("FILE").toStdString();
}

void takeAsToday(Draft& draft, Arguments& /*arguments*/)
{
    draft.isAsToday = true;
}

void takeAsIs(Draft& draft, Arguments& /*arguments*/)
{
    draft.rowsOff = QStringList();
}

void takeExplain(Draft& draft, Arguments& arguments)
{
    draft.line.action = Action::Explain;
    draft.line.node = arguments.takeOptional();
}

void takeAssignment(Draft& draft, Arguments& arguments)
{
    const QString assignment = arguments.takeRequired("PROPERTY=VALUE");
    const int separator = assignment.indexOf(QLatin1Char('='));
    if (separator < 1) {
        misused(QStringLiteral("\"%1\" is not PROPERTY=VALUE").arg(assignment));
    }
    draft.line.key = assignment.left(separator).trimmed();
    draft.line.value = assignment.mid(separator + 1).trimmed();
}

template<Action action>
void takeWord(Draft& draft, Arguments& /*arguments*/)
{
    draft.line.action = action;
}

template<Action action>
void takeCommand(Draft& draft, Arguments& arguments)
{
    draft.line.action = action;
    draft.line.section = arguments.takeRequired("DEVICE");
    if (action == Action::Set) {
        takeAssignment(draft, arguments);
    }
}

using Take = void (*)(Draft& draft, Arguments& arguments);
using Vocabulary = QHash<QString, Take>;

/// These can be combined.
const Vocabulary& options()
{
    static const Vocabulary words{
        {QStringLiteral("--machine"), &takeMachine},
        {QStringLiteral("--as-today"), &takeAsToday},
        {QStringLiteral("--as-is"), &takeAsIs},
        {QStringLiteral("--explain"), &takeExplain},
    };
    return words;
}

/// Each of these stands alone.
const Vocabulary& commands()
{
    static const Vocabulary words{
        {QStringLiteral("plug"), &takeCommand<Action::Plug>},
        {QStringLiteral("unplug"), &takeCommand<Action::Unplug>},
        {QStringLiteral("set"), &takeCommand<Action::Set>},
        {QStringLiteral("--help"), &takeWord<Action::ShowHelp>},
        {QStringLiteral("--version"), &takeWord<Action::ShowVersion>},
    };
    return words;
}

QStringList knownRows(const QString& list)
{
    QStringList rows = list.split(QLatin1Char(','));
    for (const QString& row : rows) {
        if (!Rules::contains(Rules::allBut({}), row.toUtf8().constData())) {
            misused(QStringLiteral("there is no row \"%1\"; the rows are %2").arg(row, Rules::words()));
        }
    }
    return rows;
}

void takeOption(Draft& draft, const QString& word, Arguments& arguments)
{
    static const QString rows = QStringLiteral("--as-is=");
    if (word.startsWith(rows)) {
        draft.rowsOff = knownRows(word.mid(rows.size()));
    } else if (options().contains(word)) {
        options()[word](draft, arguments);
    } else {
        misused(QStringLiteral("unknown argument \"%1\"").arg(word));
    }
}

void refuseMore(Arguments& arguments)
{
    if (!arguments.isEmpty()) {
        misused(QStringLiteral("unexpected argument \"%1\"").arg(arguments.take()));
    }
}

/// A machine of a file is presented as its file says, unless it is to be treated like a real one.
Rules::Selection rulesOf(const Draft& draft)
{
    const bool isReal = draft.line.machineFile.empty();
    if (isReal && draft.isAsToday) {
        misused(QStringLiteral("--as-today is for --machine"));
    }
    const bool isOff = draft.rowsOff && draft.rowsOff->isEmpty();
    return isOff || (!isReal && !draft.isAsToday) ? Rules::Selection()
                                                  : Rules::allBut(draft.rowsOff.value_or(QStringList()));
}

} // namespace

CommandLine CommandLine::parse(const QStringList& arguments)
{
    Draft draft;
    Arguments rest(arguments);
    if (const Take command = commands().value(arguments.value(0))) {
        rest.take();
        command(draft, rest);
        refuseMore(rest);
        return draft.line;
    }
    while (!rest.isEmpty()) {
        takeOption(draft, rest.take(), rest);
    }
    draft.line.rules = rulesOf(draft);
    return draft.line;
}

std::string CommandLine::help()
{
    std::ostringstream text;
    text << HelpBegin;
    for (const Rule& rule : Rules::all()) {
        text << "  " << rule.word << "\n      " << rule.reason << "\n";
    }
    text << HelpEnd;
    return text.str();
}
