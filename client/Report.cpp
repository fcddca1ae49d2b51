#include "client/Report.h"

#include "interfaces/ServicePaths.h"

namespace {

bool startsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

} // namespace

Report reportOn(const Exchange::Outcome& outcome, const std::string& path)
{
    if (outcome.kind == Exchange::Outcome::Kind::Unreachable) {
        return {Unreachable, {}, "cannot reach the service at " + path + ": " + outcome.text};
    }
    if (outcome.text.empty()) {
        return {NotDone,
                {},
                std::string("the reply is empty: not done as asked; ") + ServicePaths::Log +
                    " has the detail"};
    }
    if (!startsWith(outcome.text, "DONE")) {
        return {NotDone, outcome.text, "the service did not do what it was asked"};
    }
    return {Done, outcome.text, {}};
}
