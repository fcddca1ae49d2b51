#pragma once

#include <functional>
#include <string>
#include <vector>

#include <sys/socket.h>
#include <sys/time.h>

/// The kernel's door under watch: the test program is linked so that these system calls come here first. Each
/// call is recorded, then made for real, unless a test sets an answer for it.
namespace SystemCalls {

struct Address
{
    std::string bytes; ///< as many as the caller said the address has
    sa_family_t family() const;
    /// The bytes behind the address family, without zeros at the end.
    std::string data() const;
};

struct Send
{
    std::size_t size = 0;
    int flags = 0;
};

struct Record
{
    std::vector<timeval> selects;
    std::vector<std::size_t> receives; ///< how many bytes each call asked for
    std::vector<Send> sends;
    std::vector<Address> binds;
    std::vector<Address> connects;

    bool answerSelects = false;         ///< with 0, without waiting
    bool answerBinds = false;           ///< with 0
    bool answerConnects = false;        ///< with 0
    std::vector<std::string> addresses; ///< of whatever host is looked up, four bytes each; none: looked up
    std::function<void()> beforeReceive = [] {};
    std::function<void()> afterSend = [] {};
};

/// The calls since the last `reset`.
Record& record();
void reset();

} // namespace SystemCalls
