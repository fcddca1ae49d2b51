#include "client/CommandLine.h"

#include <cmath>

#include <sys/un.h>

#include <QCommandLineParser>

#include "client/service/RemountRequest.h"
#include "interfaces/ServicePaths.h"
#include "process/ParserComplaint.h"
#include "process/UsageError.h"

namespace CommandLine {
namespace {

constexpr double MicrosecondsPerSecond = 1e6;
constexpr double MaxTimeout = 86400; // seconds

// The parser works on text, but requests and paths are bytes: Latin-1 carries each byte there and back.
QString text(const std::string& bytes)
{
    return QString::fromLatin1(bytes.data(), static_cast<int>(bytes.size()));
}

std::string bytes(const QString& text)
{
    return text.toLatin1().toStdString();
}

QCommandLineOption option(const char* name)
{
    return QCommandLineOption(QLatin1String(name));
}

QCommandLineOption option(const char* name, const char* defaultValue)
{
    return {QLatin1String(name), {}, QStringLiteral("value"), QLatin1String(defaultValue)};
}

void declareOptions(QCommandLineParser& parser)
{
    parser.addOptions({option("help"), option("version"), option("json"), option("watch"),
                       option("socket", ServicePaths::CommandSocket), option("timeout", "10")});
}

/// Also what the socket library's address text would take for something else.
std::string socketPath(const std::string& value)
{
    if (value.empty()) {
        throw UsageError("--socket needs a path");
    }
    if (value.find(':') != std::string::npos) {
        throw UsageError("the path of a socket cannot contain a colon: " + value);
    }
    if (value.size() > sizeof(sockaddr_un::sun_path)) {
        throw UsageError("the path of a socket has at most 108 bytes: " + value);
    }
    return value;
}

unsigned long microseconds(const QString& value)
{
    bool isNumber = false;
    const double seconds = value.toDouble(&isNumber);
    const bool isInRange = seconds >= 0 && seconds <= MaxTimeout;
    if (!isNumber || !isInRange) {
        throw UsageError("--timeout needs a number of seconds from 0 to 86400, not \"" + bytes(value) + "\"");
    }
    return static_cast<unsigned long>(std::ceil(seconds * MicrosecondsPerSecond));
}

void requireArguments(const QStringList& arguments, int least, int most, const char* usage)
{
    if (arguments.size() < least || arguments.size() > most) {
        throw UsageError(std::string("usage: vrmountctl ") + usage);
    }
}

std::string remount(const QStringList& arguments)
{
    requireArguments(arguments, 1, 2, "remount PATH [OPTIONS]");
    return RemountRequest::line(bytes(arguments.first()), bytes(arguments.value(1)));
}

std::string send(const QStringList& arguments)
{
    requireArguments(arguments, 1, 1, "send REQUEST");
    return bytes(arguments.first());
}

std::string requestOf(const QString& command, const QStringList& arguments)
{
    std::string request = command == QLatin1String("remount") ? remount(arguments) : send(arguments);
    if (request.size() > MaxRequest) {
        throw UsageError("the request is too long: it has " + std::to_string(request.size()) +
                         " bytes, and at most " + std::to_string(MaxRequest) + " arrive in one piece");
    }
    return request;
}

void requireOptionsOf(const Invocation& invocation)
{
    const bool isList = invocation.command == Invocation::Command::List;
    if (invocation.json && !isList) {
        throw UsageError("--json goes with list only");
    }
    if (invocation.watch && !isList) {
        throw UsageError("--watch goes with list only");
    }
}

void readCommand(const QCommandLineParser& parser, Invocation& invocation)
{
    QStringList arguments = parser.positionalArguments();
    if (arguments.isEmpty()) {
        throw UsageError("no command given");
    }
    const QString command = arguments.takeFirst();
    if (command == QLatin1String("list")) {
        requireArguments(arguments, 0, 0, "list [--json] [--watch]");
        invocation.command = Invocation::Command::List;
    } else if (command == QLatin1String("status")) {
        requireArguments(arguments, 0, 0, "status");
        invocation.command = Invocation::Command::Status;
    } else if (command == QLatin1String("remount") || command == QLatin1String("send")) {
        invocation.request = requestOf(command, arguments);
        invocation.command = Invocation::Command::Send;
    } else if (command == QLatin1String("eject")) {
        requireArguments(arguments, 1, 1, "eject PATH|NODE");
        invocation.target = bytes(arguments.first());
        invocation.command = Invocation::Command::Eject;
    } else {
        throw UsageError("unknown command: " + bytes(command));
    }
    requireOptionsOf(invocation);
}

void parseArguments(QCommandLineParser& parser, const std::vector<std::string>& arguments)
{
    QStringList texts(QStringLiteral("vrmountctl"));
    for (const std::string& argument : arguments) {
        texts += text(argument);
    }
    if (!parser.parse(texts)) {
        throw UsageError(bytes(complaintOf(parser)));
    }
}

} // namespace

Invocation parse(const std::vector<std::string>& arguments)
{
    QCommandLineParser parser;
    declareOptions(parser);
    parseArguments(parser, arguments);

    Invocation invocation;
    if (parser.isSet(QStringLiteral("help"))) {
        return invocation;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        invocation.command = Invocation::Command::Version;
        return invocation;
    }
    invocation.json = parser.isSet(QStringLiteral("json"));
    invocation.watch = parser.isSet(QStringLiteral("watch"));
    invocation.socket = socketPath(bytes(parser.value(QStringLiteral("socket"))));
    invocation.timeout = microseconds(parser.value(QStringLiteral("timeout")));
    readCommand(parser, invocation);
    return invocation;
}

std::string helpText()
{
    return R"(Usage: vrmountctl [OPTION...] COMMAND

Asks vrmountdrives, the service that mounts this machine's drives, to mount one again with other options, shows
all drives and the state of the service, and ejects sticks.

Commands:
  remount PATH [OPTIONS]  mount what is mounted at PATH again with OPTIONS (separated by commas)
  send REQUEST            send REQUEST as it stands
  list [--json] [--watch] show every drive, and why one is read-only or not mounted; needs no service
  eject PATH|NODE         write out and unmount a stick, so that it may be pulled
  status                  show whether the service runs, where its letters come from, and what is wrong

Options:
  --socket PATH           the service's socket (/tmp/vrmount)
  --timeout SECONDS       how long to wait until the service takes the request: up to 86400, 0 for ever (10);
                          then the request is withdrawn. The reply to a request that was taken is always
                          waited for
  --json                  list for scripts, sizes in bytes
  --watch                 show the list anew whenever something changes, until Ctrl-C
  --help                  show this text
  --version               show the version

Exit status: 0 for a reply that begins with "DONE", 1 for any other reply, 2 for wrong use, 3 when the service
cannot be reached or is busy. Of status: 0 when everything is fine, 1 when something is not, 3 when the service
does not run.
)";
}

std::string versionText()
{
    return "vrmountctl " VRMOUNTCTL_VERSION "\n";
}

} // namespace CommandLine
