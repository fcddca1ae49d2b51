#include "tests/support/KernelDoor.h"

#include <algorithm>
#include <cerrno>
#include <sstream>

#include <sys/mount.h>

namespace KernelDoor {
namespace {

struct Answer
{
    std::string call;
    int result;
    int error;
};

std::vector<std::string> recorded;
std::vector<Answer> answers;

std::string shown(const void* text)
{
    return text == nullptr ? "NULL" : static_cast<const char*>(text);
}

} // namespace

void reset()
{
    recorded.clear();
    answers.clear();
}

std::vector<std::string> calls()
{
    return recorded;
}

void answer(const std::string& call, int result, int error)
{
    answers.push_back({call, result, error});
}

static int record(const std::string& call)
{
    recorded.push_back(call);
    const auto match = std::find_if(answers.begin(), answers.end(), [&](const Answer& candidate) {
        return call.rfind(candidate.call, 0) == 0;
    });
    if (match == answers.end()) {
        return 0;
    }
    const Answer used = *match;
    answers.erase(match);
    errno = used.error;
    return used.result;
}

// The names that the linker redirects the calls to (--wrap).
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl*)
extern "C" {

int __wrap_mount(const char* source, const char* target, const char* type, unsigned long flags,
                 const void* data);
int __wrap_umount(const char* target);
int __wrap_umount2(const char* target, int flags);
int __wrap_system(const char* command);

int __wrap_mount(const char* source, const char* target, const char* type, unsigned long flags,
                 const void* data)
{
    std::ostringstream call;
    call << "mount(" << shown(source) << ", " << shown(target) << ", " << shown(type) << ", 0x" << std::hex
         << flags << ", " << shown(data) << ")";
    return record(call.str());
}

int __wrap_umount(const char* target)
{
    return record("umount(" + shown(target) + ")");
}

int __wrap_umount2(const char* target, int flags)
{
    return record("umount2(" + shown(target) + ", " + std::to_string(flags) + ")");
}

int __wrap_system(const char* command)
{
    return record("system(" + shown(command) + ")");
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl*)

} // namespace KernelDoor
