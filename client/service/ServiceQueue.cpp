#include "client/service/ServiceQueue.h"

#include <cstring>

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/sock_diag.h>
#include <linux/unix_diag.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include "socket/Socket.h"

namespace {

constexpr unsigned long AnswerBound = 1000000; // microseconds

struct Question
{
    nlmsghdr header;
    unix_diag_req request;
};

/// The only attribute asked for comes first.
struct Answer
{
    nlmsghdr header;
    unix_diag_msg message;
    rtattr attribute;
    __u32 peer;
};

std::string questionAbout(ino_t inode)
{
    Question question = {};
    question.header.nlmsg_len = sizeof question;
    question.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    question.header.nlmsg_flags = NLM_F_REQUEST;
    question.request.sdiag_family = AF_UNIX;
    question.request.udiag_ino = static_cast<__u32>(inode);
    question.request.udiag_show = UDIAG_SHOW_PEER;
    question.request.udiag_cookie[0] = INET_DIAG_NOCOOKIE;
    question.request.udiag_cookie[1] = INET_DIAG_NOCOOKIE;
    return {reinterpret_cast<const char*>(&question), sizeof question};
}

/// A connection that nobody has accepted has no inode at its other end.
bool hasPeerWithoutInode(const std::string& bytes)
{
    Answer answer = {};
    if (bytes.size() < sizeof answer) {
        return false;
    }
    std::memcpy(&answer, bytes.data(), sizeof answer);
    return answer.header.nlmsg_type == SOCK_DIAG_BY_FAMILY && answer.attribute.rta_type == UNIX_DIAG_PEER &&
           answer.peer == 0;
}

/// Empty if the kernel cannot be asked.
std::string answerTo(const std::string& question)
{
    const int descriptor = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG);
    if (descriptor < 0) {
        return {};
    }
    VORNA::Socket kernel(descriptor);
    kernel.setTimeout(AnswerBound);
    kernel.send(question, 0);
    std::string answer;
    kernel.read(answer);
    return answer;
}

} // namespace

bool waitsInQueue(int descriptor)
{
    struct stat about = {};
    if (fstat(descriptor, &about) != 0) {
        return false;
    }
    try {
        return hasPeerWithoutInode(answerTo(questionAbout(about.st_ino)));
    } catch (const VORNA::SocketException&) {
        return false;
    }
}
