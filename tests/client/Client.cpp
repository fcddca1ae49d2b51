#include "tests/client/Client.h"

#include <ostream>

#include "tests/support/WaitFor.h"

namespace {

constexpr int Bound = 10000; // milliseconds

QStringList texts(const std::vector<std::string>& arguments)
{
    QStringList result;
    for (const std::string& argument : arguments) {
        result += QString::fromStdString(argument);
    }
    return result;
}

} // namespace

Client::Client(const std::vector<std::string>& arguments)
{
    _process.start(QStringLiteral("setsid"), QStringList(QStringLiteral(VRMOUNTCTL)) + texts(arguments));
    _process.waitForStarted();
}

Client::Client(const std::vector<std::string>& arguments, const std::string& redirections)
{
    const QString script = QStringLiteral("exec \"$0\" \"$@\" ") + QString::fromStdString(redirections);
    _process.start(QStringLiteral("bash"),
                   QStringList{QStringLiteral("-c"), script, QStringLiteral(VRMOUNTCTL)} + texts(arguments));
    _process.waitForStarted();
}

Client::~Client()
{
    _process.kill();
    _process.waitForFinished();
}

int Client::status()
{
    if (!waitFor([this] { return !isRunning(); }, std::chrono::milliseconds(Bound))) {
        return -1;
    }
    return _process.exitStatus() == QProcess::CrashExit ? 128 + _process.exitCode() : _process.exitCode();
}

std::string Client::output()
{
    return _process.readAllStandardOutput().toStdString();
}

std::string Client::complaint()
{
    return _process.readAllStandardError().toStdString();
}

void PrintTo(const ClientResult& result, std::ostream* stream)
{
    *stream << result.status << " \"" << result.output << "\" \"" << result.complaint << '"';
}

ClientResult resultOf(Client& client)
{
    const int status = client.status();
    return {status, client.output(), client.complaint()};
}

ClientResult run(const std::vector<std::string>& arguments)
{
    Client client(arguments);
    return resultOf(client);
}
