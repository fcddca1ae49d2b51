#include "tests/support/BusTraffic.h"

#include <sstream>
#include <stdexcept>
#include <vector>

#include <QDBusConnection>
#include <QDBusMessage>

#include "tests/support/WaitFor.h"

namespace {

using Fields = std::vector<std::string>;

/// The columns of the monitor's lines: type, time, serial number, sender, destination, then for calls path,
/// interface and member, for answers the serial number of the call.
enum Column
{
    Type,
    Time,
    Serial,
    Sender,
    Destination,
    Path,
    Interface,
    Member,
    CallColumns,
    Answered = Path
};

std::vector<Fields> parse(const std::string& text)
{
    std::vector<Fields> result;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        Fields fields;
        std::istringstream columns(line);
        std::string field;
        while (std::getline(columns, field, '\t')) {
            fields.push_back(field);
        }
        result.push_back(fields);
    }
    return result;
}

bool isCall(const Fields& line)
{
    return line.size() == CallColumns && line[Type] == "mc";
}

bool isAnswerTo(const std::string& client, const Fields& line)
{
    return line.size() > Answered && (line[Type] == "mr" || line[Type] == "err") &&
           line[Destination] == client;
}

std::string clientOfUDisks(const std::vector<Fields>& lines)
{
    const std::string self = QDBusConnection::systemBus().baseService().toStdString();
    for (const Fields& line : lines) {
        if (isCall(line) && line[Destination] == "org.freedesktop.UDisks" && line[Sender] != self) {
            return line[Sender];
        }
    }
    throw std::runtime_error("nobody spoke to UDisks");
}

void sendMark(const std::string& member)
{
    QDBusConnection::systemBus().send(QDBusMessage::createSignal(
        QStringLiteral("/bench"), QStringLiteral("org.vorna.Bench"), QString::fromStdString(member)));
}

} // namespace

BusTraffic::BusTraffic()
    : _monitor({"dbus-monitor", "--system", "--profile"}, _directory.path() + "/output")
{
    outputAfterMark();
}

BusTraffic::Calls BusTraffic::calls()
{
    const std::vector<Fields> lines = parse(outputAfterMark());
    const std::string client = clientOfUDisks(lines);
    std::map<std::string, std::string> methods;
    Calls result;
    for (const Fields& line : lines) {
        if (isCall(line) && line[Sender] == client) {
            methods[line[Serial]] = line[Member];
            ++result[line[Member]].unanswered;
        } else if (isAnswerTo(client, line) && methods.count(line[Answered]) != 0) {
            Sent& sent = result[methods[line[Answered]]];
            --sent.unanswered;
            ++sent.answered;
        }
    }
    return result;
}

int BusTraffic::roundTrips(const Calls& calls)
{
    int result = 0;
    for (const auto& [method, sent] : calls) {
        result += sent.answered;
    }
    return result;
}

/// The bus orders all messages: what was sent before a mark that the monitor shows is shown too. A mark that
/// was sent before the monitor watched is lost, so it is repeated.
std::string BusTraffic::outputAfterMark()
{
    const std::string mark = "Mark" + std::to_string(++_marks);
    const auto isShown = [&] {
        sendMark(mark);
        return _monitor.output().find(mark) != std::string::npos;
    };
    if (!waitFor(isShown)) {
        throw std::runtime_error("dbus-monitor shows nothing: " + _monitor.output());
    }
    return _monitor.output();
}
