#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusObjectPath>
#include <QDBusVariant>

#include <unistd.h>

#include "kernel/MountTable.h"
#include "provider/DeviceTree.h"
#include "provider/Dispatch.h"
#include "provider/MachineObject.h"
#include "provider/machine/MachineSource.h"
#include "tests/fuzz/Require.h"

/// The input is a call, or several: lines with the path, the interface, the member, the signature, the number
/// of arguments and the arguments, whose first byte is their type. The signature need not fit them. A path of
/// "M" is that of the machine's control, which the calls change as they like.
namespace {

constexpr const char* Machine = "[sda1]\nIdLabel = DATA\nIdUuid:missing =\nDeviceMajor:u = 8\n[md_d0]\n"
                                "[stick]\nNode = sdb1\nPlugged = false\n";

/// The rest of the input, line by line.
class Lines
{
public:
    Lines(const std::uint8_t* data, std::size_t size)
        : _rest(reinterpret_cast<const char*>(data), static_cast<int>(size))
    {
    }
    bool atEnd() const { return _rest.isEmpty(); }
    QByteArray nextBytes()
    {
        const int end = _rest.indexOf('\n');
        const QByteArray line = _rest.left(end);
        _rest = end < 0 ? QByteArray() : _rest.mid(end + 1);
        return line;
    }
    QString next() { return QString::fromUtf8(nextBytes()); }

private:
    QByteArray _rest;
};

QVariant argument(const QByteArray& line)
{
    const QString text = QString::fromUtf8(line.mid(1));
    switch (line.isEmpty() ? '\0' : line.front()) {
    case 's':
        return text;
    case 'x':
        return text.toLongLong();
    case 'u':
        return text.toUInt();
    case 'o':
        return QVariant::fromValue(QDBusObjectPath(text));
    case 'v':
        return QVariant::fromValue(QDBusVariant(text));
    case 'a':
        return QStringList(text.split(QLatin1Char(',')));
    case '(':
        return QVariant::fromValue(QDBusArgument());
    default:
        return {};
    }
}

BusCall nextCall(Lines& lines)
{
    constexpr int MostArguments = 8;
    BusCall call{QStringLiteral(":1.1"), lines.next(), lines.next(), lines.next(), lines.next(), {}};
    for (int count = std::min(lines.next().toInt(), MostArguments); count > 0; --count) {
        call.arguments += argument(lines.nextBytes());
    }
    return call;
}

/// The machine as its file describes it.
std::unique_ptr<MachineSource> freshMachine()
{
    const std::string file = "/dev/shm/fuzz-bus-call-" + std::to_string(getpid());
    std::ofstream(file) << Machine;
    auto machine = std::make_unique<MachineSource>(file);
    unlink(file.c_str());
    machine->start();
    return machine;
}

void checkReply(const BusCall& call, const BusReply& reply)
{
    require(reply.error.isEmpty() || reply.values.isEmpty(), "an error brings no values");
    require(reply.error.isEmpty() || reply.error.contains(QLatin1Char('.')), "an error has a name");
    require(reply.error.isEmpty() == reply.message.isEmpty(), "an error says why");
    require(reply.message.size() <= Dispatch::LongestMessage, "no message grows with what was sent");
    require(reply.error != QDBusError::errorString(QDBusError::AccessDenied),
            "this caller may do everything");
    require(!call.member.isEmpty() || !reply.error.isEmpty(), "there is no method without a name");
}

BusReply answerOf(const BusCall& call, MachineSource& machine)
{
    if (call.path != QLatin1String("M")) {
        MountTable mounts;
        return DeviceTree(machine, mounts).answer(call);
    }
    const MachineObject control(machine, [](const QString& /*sender*/) { return true; });
    return Dispatch::answer(call, control);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::unique_ptr<MachineSource> machine = freshMachine();
    Lines lines(data, size);
    while (!lines.atEnd()) {
        const BusCall call = nextCall(lines);
        checkReply(call, answerOf(call, *machine));
    }
    return 0;
}
