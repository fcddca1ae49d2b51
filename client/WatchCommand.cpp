#include "client/WatchCommand.h"

#include <iostream>
#include <optional>

#include <sys/wait.h>
#include <unistd.h>

#include "client/DriveTable.h"
#include "client/survey/Survey.h"
#include "client/watch/Screen.h"
#include "client/watch/WatchEvents.h"
#include "process/TerminalText.h"

namespace WatchCommand {
namespace {

using namespace std::chrono_literals;

constexpr auto DriveBound = 2s;
/// That the service has done its work is to be seen at its socket only.
constexpr auto ArrangingPause = 500ms;

/// Everything on one page, what could not be asked included.
std::string page(const Survey& survey, bool hasColours)
{
    const DriveTable::Style style{hasColours, Screen::width()};
    std::string result = DriveTable::table(survey.drives, style);
    for (const std::string& gap : survey.gaps) {
        result += '\n' + TerminalText::cut(gap, style.width) + '\n';
    }
    return result;
}

/// Where it is shown: each list once, if it is another than before.
class Output
{
public:
    Output(bool isJson, bool hasColours)
        : _isJson(isJson)
        , _hasColours(hasColours)
    {
        if (!isJson && isatty(STDOUT_FILENO) != 0) {
            _screen.emplace();
        }
    }

    bool show(const Survey& survey)
    {
        if (_screen) {
            return Screen::draw(page(survey, _hasColours));
        }
        std::string text = _isJson ? DriveTable::json(survey.drives, DriveTable::Layout::OneLine)
                                   : DriveTable::table(survey.drives) + '\n';
        if (text != _last) {
            std::cout << text << std::flush;
            _last = std::move(text);
        }
        return bool(std::cout);
    }

private:
    bool _isJson;
    bool _hasColours;
    std::optional<Screen> _screen;
    std::string _last;
};

/// Those that a look has left behind.
void reapChildren()
{
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

std::optional<std::chrono::milliseconds> pauseAfter(const Survey& survey)
{
    const bool isArranging = survey.surroundings.service.stage == ServiceState::Stage::Arranging;
    return isArranging ? std::optional<std::chrono::milliseconds>(ArrangingPause) : std::nullopt;
}

} // namespace

ExitStatus run(const Invocation& invocation, bool hasColours)
{
    // Whatever happens after this is an event.
    WatchEvents events;
    Surveyor surveyor(invocation.socket, DriveBound);
    Output output(invocation.json, hasColours);
    for (auto event = WatchEvents::Event::Drives; event != WatchEvents::Event::End;) {
        if (event == WatchEvents::Event::Drives) {
            surveyor.forget();
        }
        const Survey survey = surveyor.look();
        if (!output.show(survey)) {
            return NotDone;
        }
        reapChildren();
        event = events.wait(pauseAfter(survey));
    }
    return Done;
}

} // namespace WatchCommand
