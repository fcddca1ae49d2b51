#include <algorithm>

#include <gmock/gmock.h>

#include "log/Trace.h"
#include "server/MountCommand.h"
#include "tests/support/LogWatch.h"

using testing::ElementsAre;
using Arguments = QMap<QString, QString>;

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

std::string bytes(const QString& string)
{
    return string.toStdString();
}

/// "key=value" of each argument, in key order, with ";" between.
std::string listOf(const Arguments& arguments)
{
    std::string list;
    for (auto argument = arguments.cbegin(); argument != arguments.cend(); ++argument) {
        list += (list.empty() ? "" : ";") + bytes(argument.key()) + "=" + bytes(argument.value());
    }
    return list;
}

void announceUnknown(const std::string& word)
{
    LogWatch::expect("\"Command not found: " + word + "\" ");
}

struct Row
{
    const char* request;
    int command;
    const char* arguments;
    const char* formatted;
};

void expectParsed(const Row& row)
{
    const MountCommand command(text(row.request));
    EXPECT_EQ(command.command(), row.command) << row.request;
    EXPECT_EQ(command.isValid(), row.command != -1) << row.request;
    EXPECT_EQ(listOf(command.arguments()), row.arguments) << row.request;
    EXPECT_EQ(bytes(command.toString()), row.formatted) << row.request;
}

/// All texts of up to `length` of these characters, the separators of the format among them.
QStringList allTexts(int length)
{
    QStringList texts{QString()};
    for (int first = 0; length > 0; --length) {
        const int end = texts.size();
        for (; first < end; ++first) {
            for (const char character : {':', '|', '=', ' ', 'a'}) {
                texts.append(texts.at(first) + QLatin1Char(character));
            }
        }
    }
    return texts;
}

bool canBeExpressed(const QString& piece)
{
    return !piece.contains(QLatin1Char('=')) && !piece.contains(QLatin1Char('|'));
}

bool hasBlankAtAnEnd(const QString& piece)
{
    return piece != piece.trimmed();
}

std::vector<std::string> traced()
{
    std::vector<std::string> functions;
    for (const LogWatch::Line& line : LogWatch::lines()) {
        if (line.level == Vorna::Trace && line.source == "MountCommand.cpp") {
            functions.push_back(line.message.substr(line.message.find(']') + 1));
        }
    }
    return functions;
}

} // namespace

TEST(MountCommand, KnowsSixWords)
{
    const Row table[] = {
        {"mount", 1, "", "mount"}, {"unmount", 2, "", "unmount"}, {"remount", 3, "", "remount"},
        {"bind", 4, "", "bind"},   {"move", 5, "", "move"},       {"devicero", 6, "", "devicero"},
    };
    for (const Row& row : table) {
        expectParsed(row);
    }
}

TEST(MountCommand, ParsesRequestsAndFormatsThem)
{
    const Row table[] = {
        {"remount:/media/disk1=rw", 3, "/media/disk1=rw", "remount:/media/disk1=rw|"},
        {"  unmount:b=2|a|c=3=4 ", 2, "a=;b=2;c=3", "unmount:a|b=2|c=3|"},
        {"bind:x=1:y=2", 4, "x=1:y", "bind:x=1:y|"},
        {"remount", 3, "", "remount"},
        {"remount:", 3, "", "remount"},
        {"devicero:=v", 6, "v=", "devicero:v|"},
        {"mount:a==b=c", 1, "a=b", "mount:a=b|"},
        {"remount:/media/C:=ro", 3, "/media/C:=ro", "remount:/media/C:=ro|"},
        {"remount:/media/C:=ro|", 3, "/media/C:=ro", "remount:/media/C:=ro|"},
        {"remount:/media/B\xc3\xbc"
         "cher=rw",
         3,
         "/media/B\xc3\xbc"
         "cher=rw",
         "remount:/media/B\xc3\xbc"
         "cher=rw|"},
        {"\t\nmove:a=b\r\n", 5, "a=b", "move:a=b|"},
    };
    for (const Row& row : table) {
        expectParsed(row);
    }
}

TEST(MountCommand, TrimsAnItemAsAWholeButNotItsKeyAndValue)
{
    expectParsed({"mount:a = b", 1, "a = b", "mount:a = b|"});
    expectParsed({"mount:  a = b  |  c  ", 1, "a = b;c=", "mount:a = b|c|"});
}

TEST(MountCommand, CountsTheArgumentsFromTheStartOfTheLine)
{
    expectParsed({"::remount:a=b", 3, "t:a=b", "remount:t:a=b|"});
    expectParsed({":remount:a=b", 3, ":a=b", "remount::a=b|"});
    expectParsed({":remount:", 3, "", "remount"});
    expectParsed({"remount::a=b", 3, ":a=b", "remount::a=b|"});
}

TEST(MountCommand, PassesOverItemsWithoutAKey)
{
    expectParsed({"remount:a=1| |b=2", 3, "a=1;b=2", "remount:a=1|b=2|"});
    expectParsed({"remount:=", 3, "", "remount"});
    expectParsed({"remount:==|=|a", 3, "a=", "remount:a|"});
    expectParsed({"remount:|||", 3, "", "remount"});
}

TEST(MountCommand, GivesARepeatedKeyItsLaterValue)
{
    expectParsed({"remount:a=1|b=2|a=3", 3, "a=3;b=2", "remount:a=3|b=2|"});
    expectParsed({"remount:a=1|a", 3, "a=", "remount:a|"});
}

TEST(MountCommand, WarnsOfAnUnknownWord)
{
    const std::pair<const char*, const char*> table[] = {
        {"Remount:a=b", "Remount"},
        {"mount :a=b", "mount "},
        {"hello", "hello"},
        {"remount%1:a", "remount%1"},
        {"%2", "%2"},
        {":", ""},
        {"", ""},
        {" \t\r\n ", ""},
        {"a\nb", "a\\nb"},
    };
    for (const auto& [request, word] : table) {
        announceUnknown(word);
        expectParsed({request, -1, "", ""});
    }
    EXPECT_EQ(LogWatch::messages(Vorna::Warning).size(), std::size(table));
}

TEST(MountCommand, ShowsTheFirstArgumentInKeyOrder)
{
    const MountCommand command(text("unmount:b=2|a|c=3=4"));
    EXPECT_EQ(bytes(command.argument()), "a");
    EXPECT_EQ(command.argumentPair(), qMakePair(text("a"), text("")));
    EXPECT_FALSE(command.argumentPair().second.isNull());
    EXPECT_EQ(MountCommand(text("bind:x=1:y=2")).argumentPair(), qMakePair(text("x"), text("1:y")));
}

TEST(MountCommand, ShowsNullStringsWithoutArguments)
{
    const MountCommand command(text("remount:"));
    EXPECT_TRUE(command.argument().isNull());
    EXPECT_TRUE(command.argumentPair().first.isNull());
    EXPECT_TRUE(command.argumentPair().second.isNull());
}

TEST(MountCommand, TakesCommandAndArgumentsUnchanged)
{
    const Arguments arguments{{text(" b "), text("=|")}, {text("a"), text("")}};
    const MountCommand command(MountCommand::Move, arguments);
    EXPECT_EQ(command.command(), MountCommand::Move);
    EXPECT_EQ(command.arguments(), arguments);
    EXPECT_EQ(bytes(command.toString()), "move: b ==||a|");
}

TEST(MountCommand, FormatsACommandWithoutAWordAsItsArgumentsAlone)
{
    const MountCommand invalid(MountCommand::Invalid, {{text("a"), text("b")}});
    EXPECT_FALSE(invalid.isValid());
    EXPECT_EQ(bytes(invalid.toString()), ":a=b|");
    const MountCommand unknown(static_cast<MountCommand::Command>(7), {});
    EXPECT_TRUE(unknown.isValid());
    EXPECT_EQ(bytes(unknown.toString()), "");
}

TEST(MountCommand, UnderstandsItsOwnLinesWhateverTheArgumentsAre)
{
    LogWatch::begin(Vorna::Warning);
    for (const QString& arguments : allTexts(6)) {
        const MountCommand command(text("remount:") + arguments);
        const Arguments pairs = command.arguments();
        ASSERT_FALSE(pairs.contains(QString())) << bytes(arguments);
        const QStringList pieces = pairs.keys() + pairs.values();
        ASSERT_TRUE(std::all_of(pieces.begin(), pieces.end(), canBeExpressed)) << bytes(arguments);
        const MountCommand again(command.toString());
        ASSERT_EQ(again.command(), MountCommand::Remount) << bytes(arguments);
        if (std::none_of(pieces.begin(), pieces.end(), hasBlankAtAnEnd)) {
            ASSERT_EQ(again.arguments(), pairs) << bytes(arguments);
        } else {
            ASSERT_LE(again.arguments().size(), pairs.size()) << bytes(arguments);
        }
    }
}

TEST(MountCommand, TracesEveryPublicOperation)
{
    {
        const MountCommand command(MountCommand::Remount, {});
        command.isValid();
        command.command();
        command.argument();
        command.argumentPair();
        command.arguments();
        command.toString();
    }
    EXPECT_THAT(traced(), ElementsAre("MountCommand", "isValid", "command", "argument", "argumentPair",
                                      "arguments", "toString", "~MountCommand"));
}

TEST(MountCommand, TracesThatParsingAsksForValidity)
{
    const MountCommand command(text("remount:a=b"));
    EXPECT_THAT(traced(), ElementsAre("MountCommand", "isValid"));
}

TEST(MountOptions, HaveAVirtualDestructorForEachFileSystem)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<MountOptions>);
    EXPECT_TRUE((std::is_base_of_v<MountOptions, NtfsOptions>));
    EXPECT_TRUE((std::is_base_of_v<MountOptions, VfatOptions>));
}
