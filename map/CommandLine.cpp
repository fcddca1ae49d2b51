#include "map/CommandLine.h"

#include <QCommandLineParser>

#include "process/ParserComplaint.h"
#include "process/UsageError.h"

namespace CommandLine {
namespace {

const QString Devices = QStringLiteral("/dev/");

void declareOptions(QCommandLineParser& parser)
{
    for (const char* name : {"help", "version", "write", "json", "from-registry"}) {
        parser.addOption(QCommandLineOption(QLatin1String(name)));
    }
    parser.addOption({QStringLiteral("windows"), {}, QStringLiteral("node")});
}

void parseArguments(QCommandLineParser& parser, const std::vector<std::string>& arguments)
{
    QStringList texts(QStringLiteral("vrdrivesmap"));
    for (const std::string& argument : arguments) {
        texts += QString::fromStdString(argument);
    }
    if (!parser.parse(texts)) {
        throw UsageError(complaintOf(parser).toStdString());
    }
    if (!parser.positionalArguments().isEmpty()) {
        throw UsageError("no such argument: " + parser.positionalArguments().first().toStdString());
    }
}

QString nodeOf(const QCommandLineParser& parser)
{
    if (!parser.isSet(QStringLiteral("windows"))) {
        return {};
    }
    const QString node = parser.value(QStringLiteral("windows"));
    if (node.isEmpty()) {
        throw UsageError("--windows needs the node of a partition");
    }
    return node.startsWith(Devices) ? node : Devices + node;
}

Invocation::Command commandOf(const QCommandLineParser& parser)
{
    if (parser.isSet(QStringLiteral("help"))) {
        return Invocation::Command::Help;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        return Invocation::Command::Version;
    }
    return parser.isSet(QStringLiteral("write")) ? Invocation::Command::Write : Invocation::Command::Show;
}

} // namespace

Invocation parse(const std::vector<std::string>& arguments)
{
    QCommandLineParser parser;
    declareOptions(parser);
    parseArguments(parser, arguments);
    Invocation invocation;
    invocation.command = commandOf(parser);
    invocation.json = parser.isSet(QStringLiteral("json"));
    invocation.fromRegistry = parser.isSet(QStringLiteral("from-registry"));
    invocation.windows = nodeOf(parser);
    return invocation;
}

std::string helpText()
{
    return R"(Usage: vrdrivesmap [OPTION...]

Shows which drive letters the Windows on this machine gave to its partitions, from the drives map that it has
left, or else from its registry. Both are read from the disks themselves; nothing is mounted.

Options:
  --write           also write the drives map that vrmountdrives looks for when it starts, to
                    /mounts/windows/Programs/Vorna/drives.ini, unless somebody else has put one below /mounts
  --from-registry   do not look for drives maps on the disks
  --windows NODE    look at one partition only, such as /dev/sda2
  --json            show what was found for scripts
  --help            show this text
  --version         show the version

Exit status: 0 also where there is no Windows, 1 when the disks could not be asked for or the map could not be
written, 2 for wrong use.
)";
}

std::string versionText()
{
    return "vrdrivesmap " VRDRIVESMAP_VERSION "\n";
}

} // namespace CommandLine
