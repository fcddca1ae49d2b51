#include <gmock/gmock.h>

#include "process/UsageError.h"
#include "provider/CommandLine.h"

namespace {

QStringList words(const std::vector<const char*>& texts)
{
    QStringList result;
    for (const char* text : texts) {
        result += QString::fromUtf8(text);
    }
    return result;
}

} // namespace

TEST(CommandLineTest, UnderstandsEveryForm)
{
    using Action = CommandLine::Action;
    const struct
    {
        std::vector<const char*> arguments;
        Action action;
    } table[] = {
        {{}, Action::Serve},
        {{"--as-is"}, Action::Serve},
        {{"--machine", "m.ini"}, Action::Serve},
        {{"--explain"}, Action::Explain},
        {{"--explain", "--as-is"}, Action::Explain},
        {{"--machine", "m.ini", "--explain", "sda"}, Action::Explain},
        {{"plug", "stick"}, Action::Plug},
        {{"unplug", "stick"}, Action::Unplug},
        {{"set", "stick", "IdLabel=x"}, Action::Set},
        {{"--help"}, Action::ShowHelp},
        {{"--version"}, Action::ShowVersion},
    };
    for (const auto& row : table) {
        EXPECT_EQ(CommandLine::parse(words(row.arguments)).action, row.action);
    }
}

TEST(CommandLineTest, TakesWhatTheFormsCarry)
{
    EXPECT_EQ(CommandLine::parse({}).machineFile, "");
    EXPECT_EQ(CommandLine::parse(words({"--machine", "m.ini"})).machineFile, "m.ini");
    EXPECT_EQ(CommandLine::parse(words({"--explain", "sda", "--as-is"})).node.toStdString(), "sda");
    EXPECT_EQ(CommandLine::parse(words({"--explain", "--as-is"})).node.toStdString(), "");
    EXPECT_EQ(CommandLine::parse(words({"plug", "stick"})).section.toStdString(), "stick");
    const CommandLine set = CommandLine::parse(words({"set", "stick", "IdLabel = a = b "}));
    EXPECT_EQ(set.section.toStdString(), "stick");
    EXPECT_EQ(set.key.toStdString(), "IdLabel");
    EXPECT_EQ(set.value.toStdString(), "a = b");
}

TEST(CommandLineTest, AppliesTheTableToTheMachineItselfAndToOthersWhenAsked)
{
    const std::size_t all = Rules::all().size();
    const struct
    {
        std::vector<const char*> arguments;
        std::size_t count;
    } table[] = {
        {{}, all},
        {{"--as-is"}, 0},
        {{"--as-is=dead-mounts,equal-labels"}, all - 2},
        {{"--as-is=dead-mounts,dead-mounts"}, all - 1},
        {{"--as-is", "--as-is=dead-mounts"}, all - 1},
        {{"--machine", "m.ini"}, 0},
        {{"--machine", "m.ini", "--as-is=dead-mounts"}, 0},
        {{"--machine", "m.ini", "--as-today"}, all},
        {{"--as-today", "--machine", "m.ini"}, all},
        {{"--machine", "m.ini", "--as-today", "--as-is=scsi-major"}, all - 1},
        {{"--machine", "m.ini", "--as-today", "--as-is"}, 0},
    };
    for (const auto& row : table) {
        EXPECT_EQ(CommandLine::parse(words(row.arguments)).rules.size(), row.count)
            << words(row.arguments).join(QLatin1Char(' ')).toStdString();
    }
    const CommandLine line = CommandLine::parse(words({"--as-is=scsi-major"}));
    EXPECT_FALSE(Rules::contains(line.rules, "scsi-major"));
    EXPECT_TRUE(Rules::contains(line.rules, "dead-mounts"));
}

TEST(CommandLineTest, RefusesEverythingElseInOneLine)
{
    const std::string rows = "; the rows are memory-devices, rescue-medium, scsi-major, windows-hidden, "
                             "windows-first, blank-labels, drive-letter-labels, equal-labels, dead-mounts";
    const struct
    {
        std::vector<const char*> arguments;
        std::string error;
    } table[] = {
        {{"--machine"}, "FILE is missing"},
        {{"--machine", ""}, "FILE is missing"},
        {{"--machine", "a", "b"}, "unknown argument \"b\""},
        {{"--as-today"}, "--as-today is for --machine"},
        {{"--as-is=nothing"}, "there is no row \"nothing\"" + rows},
        {{"--as-is="}, "there is no row \"\"" + rows},
        {{"--as-is=dead-mounts,"}, "there is no row \"\"" + rows},
        {{"--as-is=Dead-Mounts"}, "there is no row \"Dead-Mounts\"" + rows},
        {{"--explain", "a", "b"}, "unknown argument \"b\""},
        {{"--as-is", "plug", "a"}, "unknown argument \"plug\""},
        {{"plug"}, "DEVICE is missing"},
        {{"unplug", "a", "b"}, "unexpected argument \"b\""},
        {{"set", "a"}, "PROPERTY=VALUE is missing"},
        {{"set", "a", "b"}, "\"b\" is not PROPERTY=VALUE"},
        {{"set", "a", "=b"}, "\"=b\" is not PROPERTY=VALUE"},
        {{"--true-major"}, "unknown argument \"--true-major\""},
        {{"eject", "a"}, "unknown argument \"eject\""},
        {{"--help", "me"}, "unexpected argument \"me\""},
        {{""}, "unknown argument \"\""},
    };
    for (const auto& row : table) {
        std::string error;
        try {
            CommandLine::parse(words(row.arguments));
        } catch (const UsageError& thrown) {
            error = thrown.what();
        }
        EXPECT_EQ(error, row.error + " (see vrudisks --help)");
    }
}
