#include "tests/provider/HostileCalls.h"

#include "interfaces/InterfaceDescription.h"

namespace HostileCalls {
namespace {

void addMembers(std::vector<Member>& all, const InterfaceDescription& interface)
{
    // Sorted: a hash has another order in every run.
    QStringList names = interface.methods().keys();
    names.sort();
    for (const QString& name : names) {
        all.push_back({interface.name().toStdString(), name.toStdString(),
                       interface.methods().value(name).toStdString()});
    }
}

const std::vector<std::string> Types{
    "y",  "b",  "n",     "q",    "i", "u",  "x", "t",   "d",  "s",     "o",     "g",   "v",  "as",
    "ay", "ao", "a{sv}", "(si)", "h", "av", "s", "aas", "ss", "a(os)", "a{us}", "ssv", "xx", "((((s))))"};

class Choice
{
public:
    explicit Choice(Stranger::Random& random)
        : _random(random)
    {
    }
    template<typename Value>
    const Value& of(const std::vector<Value>& values)
    {
        return values[_random() % values.size()];
    }
    bool isMade(unsigned oneOf) { return _random() % oneOf == 0; }

private:
    Stranger::Random& _random;
};

ForeignCall randomCall(Stranger::Random& random)
{
    Choice choice(random);
    const Member& member = choice.of(members());
    ForeignCall call{choice.of(paths()), member.interface, member.name, member.signature, !choice.isMade(4)};
    if (choice.isMade(4)) {
        call.interface = choice.of(members()).interface;
    }
    if (choice.isMade(8)) {
        call.member += choice.isMade(2) ? "s" : choice.of(members()).name;
    }
    if (choice.isMade(2)) {
        call.signature.clear();
        while (!choice.isMade(3)) {
            call.signature += choice.of(Types);
        }
    }
    return call;
}

} // namespace

const std::vector<std::string>& paths()
{
    static const std::vector<std::string> all{"/",
                                              "/org",
                                              DaemonPath,
                                              DaemonPath + "/devices",
                                              DevicePath,
                                              DaemonPath + "/devices/md_5fd0",
                                              DaemonPath + "/devices/sdz",
                                              DevicePath + "/below",
                                              DaemonPath + "/other",
                                              MachinePath,
                                              MachinePath + "/x",
                                              "/nonsense/" + std::string(4000, 'x')};
    return all;
}

const std::vector<std::string>& words()
{
    static const std::vector<std::string> all{"",
                                              Daemon,
                                              Device,
                                              Properties,
                                              MachineInterface,
                                              "IdLabel",
                                              "DeviceMountPaths",
                                              "DaemonVersion",
                                              "/dev/sda1",
                                              "sda1",
                                              "stick",
                                              "%n%s%1\n\x7f",
                                              "\xc3\xbc\xf0\x9f\x92\xbe",
                                              std::string(20000, 'x')};
    return all;
}

const std::vector<Member>& members()
{
    static const std::vector<Member> all = [] {
        std::vector<Member> result{
            {"org.freedesktop.DBus.ObjectManager", "GetManagedObjects", ""},
            {"org.freedesktop.Invented", "Nonsense", "s"},
            {Properties, "Getss", ""},
            {Properties, "GetAlls", ""},
            {Properties, "Setssv", ""},
            {Daemon, "FindDeviceByMajorMinorxx", ""},
            {Device, "Nonsense", "as"},
        };
        for (const InterfaceDescription* interface :
             {&InterfaceDescription::daemon(), &InterfaceDescription::device(),
              &InterfaceDescription::machine(), &InterfaceDescription::standardProperties(),
              &InterfaceDescription::standardIntrospectable(), &InterfaceDescription::standardPeer()}) {
            addMembers(result, *interface);
        }
        return result;
    }();
    return all;
}

std::vector<std::string> signaturesFor(const Member& member)
{
    return {"",
            member.signature.substr(0, 1) == "a" ? "u" : member.signature.substr(0, 1),
            member.signature,
            member.signature + "s",
            "ss",
            "ssv",
            "h",
            "a{sv}(so)ah"};
}

Stranger::Message randomMessage(Stranger::Random& random)
{
    Choice choice(random);
    const bool isSignal = choice.isMade(16);
    return Stranger::message(randomCall(random), random, words(),
                             isSignal ? DBUS_MESSAGE_TYPE_SIGNAL : DBUS_MESSAGE_TYPE_METHOD_CALL);
}

} // namespace HostileCalls
