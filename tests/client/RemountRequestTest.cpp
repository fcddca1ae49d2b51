#include "client/service/RemountRequest.h"

#include <gmock/gmock.h>

#include "process/UsageError.h"
#include "server/MountCommand.h"

namespace {

struct Case
{
    std::string path;
    std::string options;
};

std::string refusal(const Case& request)
{
    try {
        RemountRequest::line(request.path, request.options);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(RemountRequest, IsALineThatTheServiceReadsBackUnchanged)
{
    const std::vector<Case> cases{
        {"/media/C:", "ro"},
        {"/media/C:", ""},
        {"/mnt/My Disk", "ignore_case,remove_hiberfile"},
        {"/mnt/\xc3\x9c"
         "bung",
         "rw,uid:0"},
        {"::", "a b"},
        {"/mnt/two\nlines", "ro"},
        {"relative/", "-"},
    };
    for (const auto& [path, options] : cases) {
        const MountCommand parsed(QString::fromStdString(RemountRequest::line(path, options)));
        EXPECT_EQ(parsed.command(), MountCommand::Remount) << path;
        EXPECT_EQ(parsed.arguments().size(), 1) << path;
        EXPECT_EQ(parsed.argumentPair().first.toStdString(), path);
        EXPECT_EQ(parsed.argumentPair().second.toStdString(), options);
    }
}

TEST(RemountRequest, EndsEachArgumentWithItsSeparator)
{
    EXPECT_EQ(RemountRequest::line("/media/C:", "ro"), "remount:/media/C:=ro|");
    EXPECT_EQ(RemountRequest::line("/media/C:", ""), "remount:/media/C:|");
}

TEST(RemountRequest, RefusesWhatItCannotCarry)
{
    const std::string reserved = " is a separator of requests";
    const std::string blank = "blanks at an end get lost";
    const std::string encoding = "only UTF-8 text arrives unchanged";
    const std::vector<std::pair<Case, std::string>> cases{
        {{"", "ro"}, "the path \"\" cannot be sent: an empty one names nothing"},
        {{"/a=b", "ro"}, "the path \"/a=b\" cannot be sent: \"=\"" + reserved},
        {{"/a|b", "ro"}, "the path \"/a|b\" cannot be sent: \"|\"" + reserved},
        {{" /a", "ro"}, "the path \" /a\" cannot be sent: " + blank},
        {{"/a ", ""}, "the path \"/a \" cannot be sent: " + blank},
        {{"/a\n", ""}, "the path \"/a\n\" cannot be sent: " + blank},
        {{"/a\xc2\xa0", ""}, "the path \"/a\xc2\xa0\" cannot be sent: " + blank},
        {{"/\xff", ""}, "the path \"/\xff\" cannot be sent: " + encoding},
        {{"/a", "uid=0"}, "the options \"uid=0\" cannot be sent: \"=\"" + reserved},
        {{"/a", "ro|rw"}, "the options \"ro|rw\" cannot be sent: \"|\"" + reserved},
        {{"/a", " ro"}, "the options \" ro\" cannot be sent: " + blank},
        {{"/a", "ro\t"}, "the options \"ro\t\" cannot be sent: " + blank},
        {{"/a", " "}, "the options \" \" cannot be sent: " + blank},
        {{"/a", "\xc3"}, "the options \"\xc3\" cannot be sent: " + encoding},
    };
    for (const auto& [request, message] : cases) {
        EXPECT_EQ(refusal(request), message);
    }
}

} // namespace
