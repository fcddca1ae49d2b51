#include "client/CommandLine.h"

#include <gmock/gmock.h>

#include "process/UsageError.h"

namespace {

using Command = Invocation::Command;
using Arguments = std::vector<std::string>;

std::string refusal(const Arguments& arguments)
{
    try {
        CommandLine::parse(arguments);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(CommandLine, ReadsEachCommand)
{
    struct Case
    {
        Arguments arguments;
        Command command;
        std::string request;
    };
    const std::vector<Case> cases{
        {{"--help"}, Command::Help, ""},
        {{"list", "extra", "--help"}, Command::Help, ""},
        {{"--version"}, Command::Version, ""},
        {{"list"}, Command::List, ""},
        {{"eject", "/media/A STICK"}, Command::Eject, ""},
        {{"status"}, Command::Status, ""},
        {{"remount", "/media/C:"}, Command::Send, "remount:/media/C:|"},
        {{"remount", "/media/C:", ""}, Command::Send, "remount:/media/C:|"},
        {{"remount", "/media/C:", "ro,noatime"}, Command::Send, "remount:/media/C:=ro,noatime|"},
        {{"send", "remount:/media/C:=rw"}, Command::Send, "remount:/media/C:=rw"},
        {{"send", ""}, Command::Send, ""},
        {{"send", "--", "--help"}, Command::Send, "--help"},
        {{"send", "\xff=| \xc3\xbc "}, Command::Send, "\xff=| \xc3\xbc "},
    };
    for (const Case& expected : cases) {
        const Invocation read = CommandLine::parse(expected.arguments);
        EXPECT_EQ(read.command, expected.command) << expected.arguments.front();
        EXPECT_EQ(read.request, expected.request);
    }
}

TEST(CommandLine, ReadsOptionsAnywhere)
{
    const Invocation plain = CommandLine::parse({"list"});
    EXPECT_EQ(plain.socket, "/tmp/vrmount");
    EXPECT_EQ(plain.timeout, 10000000U);
    EXPECT_FALSE(plain.json);
    EXPECT_FALSE(plain.watch);
    EXPECT_TRUE(CommandLine::parse({"list", "--watch"}).watch);
    EXPECT_EQ(CommandLine::parse({"eject", "/media/\xff"}).target, "/media/\xff");

    const Invocation full =
        CommandLine::parse({"--timeout=0.25", "list", "--json", "--socket", "/run/\xc3\xbc"});
    EXPECT_EQ(full.socket, "/run/\xc3\xbc");
    EXPECT_EQ(full.timeout, 250000U);
    EXPECT_TRUE(full.json);
}

TEST(CommandLine, BoundsEveryTimeoutButZero)
{
    EXPECT_EQ(CommandLine::parse({"list", "--timeout", "0"}).timeout, 0U);
    EXPECT_EQ(CommandLine::parse({"list", "--timeout", "0.00000001"}).timeout, 1U);
    EXPECT_EQ(CommandLine::parse({"list", "--timeout", "86400"}).timeout, 86400000000U);
}

TEST(CommandLine, RefusesWrongUseInOneLine)
{
    const std::string timeout = "--timeout needs a number of seconds from 0 to 86400, not ";
    const std::vector<std::pair<Arguments, std::string>> cases{
        {{}, "no command given"},
        {{"mount", "/media/C:"}, "unknown command: mount"},
        {{"\xc3\xbc"}, "unknown command: \xc3\xbc"},
        {{"remount"}, "usage: vrmountctl remount PATH [OPTIONS]"},
        {{"remount", "/a", "ro", "rw"}, "usage: vrmountctl remount PATH [OPTIONS]"},
        {{"send"}, "usage: vrmountctl send REQUEST"},
        {{"send", "a", "b"}, "usage: vrmountctl send REQUEST"},
        {{"list", "/media"}, "usage: vrmountctl list [--json] [--watch]"},
        {{"eject"}, "usage: vrmountctl eject PATH|NODE"},
        {{"eject", "/a", "/b"}, "usage: vrmountctl eject PATH|NODE"},
        {{"status", "/a"}, "usage: vrmountctl status"},
        {{"send", "a", "--json"}, "--json goes with list only"},
        {{"status", "--watch"}, "--watch goes with list only"},
        {{"list", "--jsn"}, "unknown option 'jsn'"},
        {{"list", "--\xc3\xbc"}, "unknown option '\xc3\xbc'"},
        {{"list", "--json=x"}, "unexpected value after '--json'"},
        {{"list", "--socket"}, "missing value after '--socket'"},
        {{"list", "--socket", ""}, "--socket needs a path"},
        {{"list", "--socket", "a:1"}, "the path of a socket cannot contain a colon: a:1"},
        {{"list", "--timeout", "soon"}, timeout + "\"soon\""},
        {{"list", "--timeout", ""}, timeout + "\"\""},
        {{"list", "--timeout=-1"}, timeout + "\"-1\""},
        {{"list", "--timeout", "nan"}, timeout + "\"nan\""},
        {{"list", "--timeout", "inf"}, timeout + "\"inf\""},
        {{"list", "--timeout", "86400.001"}, timeout + "\"86400.001\""},
        {{"remount", "/a=b"}, "the path \"/a=b\" cannot be sent: \"=\" is a separator of requests"},
    };
    for (const auto& [arguments, message] : cases) {
        EXPECT_EQ(refusal(arguments), message);
    }
}

TEST(CommandLine, RefusesASocketPathThatNoAddressHolds)
{
    EXPECT_EQ(CommandLine::parse({"list", "--socket", std::string(108, 'p')}).socket.size(), 108U);
    EXPECT_THAT(refusal({"list", "--socket", std::string(109, 'p')}),
                testing::HasSubstr("at most 108 bytes"));
}

TEST(CommandLine, RefusesARequestThatCouldArriveInPieces)
{
    EXPECT_EQ(CommandLine::parse({"send", std::string(32768, 'x')}).request.size(), 32768U);
    EXPECT_EQ(refusal({"send", std::string(32769, 'x')}),
              "the request is too long: it has 32769 bytes, and at most 32768 arrive in one piece");
    EXPECT_THAT(refusal({"remount", std::string(40000, 'x')}), testing::HasSubstr("too long"));
}

TEST(CommandLine, ExplainsEveryCommandOptionAndStatusInItsHelp)
{
    EXPECT_EQ(CommandLine::helpText(), R"(Usage: vrmountctl [OPTION...] COMMAND

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
)");
}

} // namespace
