#include "client/Report.h"

#include <gmock/gmock.h>

namespace {

using Kind = Exchange::Outcome::Kind;

constexpr const char* Complaint = "the service did not do what it was asked";

TEST(Report, ShowsScriptsByItsStatusWhatHappened)
{
    struct Case
    {
        Exchange::Outcome outcome;
        ExitStatus status;
        std::string output;
        std::string complaint;
    };
    const std::vector<Case> cases{
        {{Kind::Replied, "DONE remount: [/media/C:] with options: [ro]"},
         Done,
         "DONE remount: [/media/C:] with options: [ro]",
         ""},
        {{Kind::Replied, "DONE"}, Done, "DONE", ""},
        {{Kind::Replied, "WARNING re-mount path not found: [/x]"},
         NotDone,
         "WARNING re-mount path not found: [/x]",
         Complaint},
        {{Kind::Replied, "NOT DONE"}, NotDone, "NOT DONE", Complaint},
        {{Kind::Replied, "done"}, NotDone, "done", Complaint},
        {{Kind::Replied, ""},
         NotDone,
         "",
         "the reply is empty: not done as asked; /var/log/vorna/vrmountdrives.log has the detail"},
        {{Kind::Unreachable, "Connection refused"},
         Unreachable,
         "",
         "cannot reach the service at /tmp/vrmount: Connection refused"},
        {{Kind::Unreachable, ""}, Unreachable, "", "cannot reach the service at /tmp/vrmount: "},
    };
    for (const Case& expected : cases) {
        const Report report = reportOn(expected.outcome, "/tmp/vrmount");
        EXPECT_EQ(report.status, expected.status) << expected.outcome.text;
        EXPECT_EQ(report.output, expected.output);
        EXPECT_EQ(report.complaint, expected.complaint);
    }
}

TEST(Report, HasTheStatusesThatScriptsRelyOn)
{
    EXPECT_EQ(static_cast<int>(Done), 0);
    EXPECT_EQ(static_cast<int>(NotDone), 1);
    EXPECT_EQ(static_cast<int>(WrongUse), 2);
    EXPECT_EQ(static_cast<int>(Unreachable), 3);
}

} // namespace
