#include <gmock/gmock.h>

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
        {{"--true-major"}, Action::Serve},
        {{"--machine", "m.ini"}, Action::ServeMachine},
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
    EXPECT_FALSE(CommandLine::parse({}).showsTrueMajor);
    EXPECT_TRUE(CommandLine::parse(words({"--true-major"})).showsTrueMajor);
    EXPECT_EQ(CommandLine::parse(words({"--machine", "m.ini"})).machineFile, "m.ini");
    EXPECT_EQ(CommandLine::parse(words({"plug", "stick"})).section.toStdString(), "stick");
    const CommandLine set = CommandLine::parse(words({"set", "stick", "IdLabel = a = b "}));
    EXPECT_EQ(set.section.toStdString(), "stick");
    EXPECT_EQ(set.key.toStdString(), "IdLabel");
    EXPECT_EQ(set.value.toStdString(), "a = b");
}

TEST(CommandLineTest, RefusesEverythingElseInOneLine)
{
    const struct
    {
        std::vector<const char*> arguments;
        const char* error;
    } table[] = {
        {{"--machine"}, "FILE is missing"},
        {{"--machine", ""}, "FILE is missing"},
        {{"--machine", "a", "b"}, "unexpected argument \"b\""},
        {{"plug"}, "DEVICE is missing"},
        {{"unplug", "a", "b"}, "unexpected argument \"b\""},
        {{"set", "a"}, "PROPERTY=VALUE is missing"},
        {{"set", "a", "b"}, "\"b\" is not PROPERTY=VALUE"},
        {{"set", "a", "=b"}, "\"=b\" is not PROPERTY=VALUE"},
        {{"--true-major", "x"}, "unexpected argument \"x\""},
        {{"eject", "a"}, "unknown argument \"eject\""},
        {{"--help", "me"}, "unexpected argument \"me\""},
    };
    for (const auto& row : table) {
        std::string error;
        try {
            CommandLine::parse(words(row.arguments));
        } catch (const UsageError& thrown) {
            error = thrown.what();
        }
        EXPECT_EQ(error, std::string(row.error) + " (see vrudisks --help)");
    }
}
