#include "client/StatusReport.h"

#include <ctime>

#include <gmock/gmock.h>

namespace {

using Stage = ServiceState::Stage;

ListedDrive drive(const std::string& device, const std::string& directory,
                  const std::optional<Note>& note = std::nullopt)
{
    ListedDrive result;
    result.mount.device = device;
    result.mount.directory = directory;
    result.note = note;
    return result;
}

Survey survey(const ServiceState& service, const std::vector<ListedDrive>& drives = {})
{
    Survey result;
    result.drives = drives;
    result.surroundings.service = service;
    result.surroundings.presented.emplace();
    return result;
}

class StatusReportTest : public testing::Test
{
protected:
    StatusReportTest()
    {
        setenv("TZ", "UTC", 1);
        tzset();
    }
    const ServiceState ready{Stage::Ready, 123, 1795298400, true};
};

TEST_F(StatusReportTest, IsFineWhereNothingIsWrong)
{
    const Note asked{"requested", "somebody asked", "", false};
    const StatusReport report =
        StatusReport::on(survey(ready, {drive("/dev/sda1", "/media/C:"),
                                        drive("/dev/sda2", "/media/D:", asked), drive("/dev/sda3", "")}),
                         "/mounts/x\n");
    EXPECT_EQ(report.status, Done);
    EXPECT_EQ(report.text, "service  runs since 2026-11-21 22:00:00 as process 123\n"
                           "drives   2 mounted, 1 not\n"
                           "map      /mounts/x\\x0a\n");
}

TEST_F(StatusReportTest, NamesEachTrouble)
{
    Survey troubled =
        survey(ready, {drive("/dev/sda1", "/media/C:", Note{"hibernated", "it sleeps", "", true}),
                       drive("/dev/sda2", "", Note{"damaged", "it is broken", "", true})});
    troubled.surroundings.presented.reset();
    const StatusReport report = StatusReport::on(troubled, "m");
    EXPECT_EQ(report.status, NotDone);
    EXPECT_THAT(report.text, testing::EndsWith("trouble  the provider of devices does not answer\n"
                                               "trouble  /dev/sda1: it sleeps\n"
                                               "trouble  /dev/sda2: it is broken\n"));
}

TEST_F(StatusReportTest, HasAStatusForEachStateOfTheService)
{
    struct Case
    {
        ServiceState service;
        ExitStatus status;
        std::string line;
    };
    const std::vector<Case> cases{
        {{Stage::Ready, 0, 0, false}, Done, "service  runs\n"},
        {{Stage::Arranging, 7, 1795298400, true},
         NotDone,
         "service  arranges the drives since 2026-11-21 22:00:00 as process 7\n"},
        {{Stage::Absent, 0, 0, true},
         NotDone,
         "service  does not run, but has left /var/run/vrmountdrives.pid\n"},
        {{Stage::Absent, 0, 0, false}, Unreachable, "service  does not run\n"},
    };
    for (const Case& expected : cases) {
        const StatusReport report = StatusReport::on(survey(expected.service), "m");
        EXPECT_EQ(report.status, expected.status) << expected.line;
        EXPECT_THAT(report.text, testing::StartsWith(expected.line));
        EXPECT_EQ(report.text.find("map") != std::string::npos, expected.service.runs());
    }
}

} // namespace
