#include "map/reader/Confinement.h"

#include <array>
#include <cerrno>
#include <climits>
#include <memory>
#include <system_error>

#include <fcntl.h>
#include <grp.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "kernel/Descriptor.h"
#include "map/reader/WindowsSearch.h"
#include "process/StandardStreams.h"

namespace Confinement {
namespace {

constexpr uid_t Nobody = 65534;
constexpr rlim_t MemoryLimit = 768UL << 20; // bytes
constexpr rlim_t ProcessorLimit = 10;       // seconds
constexpr rlim_t DescriptorLimit = 16;

using Filter = std::unique_ptr<void, decltype(&seccomp_release)>;

void require(bool holds, const char* what)
{
    const int error = errno;
    if (!holds) {
        throw std::system_error(error, std::generic_category(), what);
    }
}

/// The descriptors get their places, from above so that none is overwritten before it is moved.
void arrangeDescriptors(int answer, const std::string& device)
{
    const Descriptor opened = openFile(device, O_RDONLY | O_NONBLOCK);
    const Descriptor memory(memfd_create("registry", MFD_CLOEXEC));
    const int first = Memory + 1;
    const Descriptor answerAbove(fcntl(answer, F_DUPFD_CLOEXEC, first));
    const Descriptor deviceAbove(fcntl(opened.get(), F_DUPFD_CLOEXEC, first));
    const Descriptor memoryAbove(fcntl(memory.get(), F_DUPFD_CLOEXEC, first));
    require(dup2(answerAbove.get(), Answer) >= 0, "cannot keep the pipe");
    require(dup2(deviceAbove.get(), Device) >= 0, "cannot keep the device");
    require(dup2(memoryAbove.get(), Memory) >= 0, "no file in memory");
    require(close_range(first, UINT_MAX, 0) == 0, "cannot close what is open");
    detachStandardStreams();
}

void limit(__rlimit_resource resource, rlim_t value)
{
    const rlimit both{value, value};
    require(setrlimit(resource, &both) == 0, "cannot set a limit");
}

void setLimits()
{
    limit(RLIMIT_AS, MemoryLimit);
    limit(RLIMIT_CPU, ProcessorLimit);
    limit(RLIMIT_FSIZE, LargestRegistry);
    limit(RLIMIT_NOFILE, DescriptorLimit);
    limit(RLIMIT_CORE, 0);
}

void giveUpPrivileges()
{
    require(chroot("/proc/self/fd") == 0 && chdir("/") == 0, "cannot leave the file system");
    require(setgroups(0, nullptr) == 0, "cannot leave the groups");
    require(setresgid(Nobody, Nobody, Nobody) == 0, "cannot leave the group");
    require(setresuid(Nobody, Nobody, Nobody) == 0, "cannot become nobody");
    require(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0, "cannot give up privileges for good");
}

void allow(const Filter& filter, int call)
{
    require(seccomp_rule_add(filter.get(), SCMP_ACT_ALLOW, call, 0) == 0, "no filter");
}

/// Only where these bits of the third argument are not set.
void allowWithout(const Filter& filter, int call, scmp_datum_t bits)
{
    constexpr unsigned Third = 2;
    const scmp_arg_cmp none{Third, SCMP_CMP_MASKED_EQ, bits, 0};
    require(seccomp_rule_add_array(filter.get(), SCMP_ACT_ALLOW, call, 1, &none) == 0, "no filter");
}

} // namespace

void enter(int answer, const std::string& device)
{
    arrangeDescriptors(answer, device);
    setLimits();
    giveUpPrivileges();
}

void shut()
{
    const Filter filter(seccomp_init(SCMP_ACT_KILL_PROCESS), &seccomp_release);
    require(filter != nullptr, "no filter");
    for (const int call :
         {SCMP_SYS(read),         SCMP_SYS(pread64),   SCMP_SYS(write),      SCMP_SYS(lseek),
          SCMP_SYS(close),        SCMP_SYS(fstat),     SCMP_SYS(newfstatat), SCMP_SYS(statx),
          SCMP_SYS(fcntl),        SCMP_SYS(fadvise64), SCMP_SYS(munmap),     SCMP_SYS(mremap),
          SCMP_SYS(madvise),      SCMP_SYS(brk),       SCMP_SYS(futex),      SCMP_SYS(clock_gettime),
          SCMP_SYS(gettimeofday), SCMP_SYS(time),      SCMP_SYS(getrandom),  SCMP_SYS(rt_sigreturn),
          SCMP_SYS(exit_group)}) {
        allow(filter, call);
    }
    allowWithout(filter, SCMP_SYS(openat), O_ACCMODE | O_CREAT | O_TRUNC);
    allowWithout(filter, SCMP_SYS(mmap), PROT_EXEC);
    allowWithout(filter, SCMP_SYS(mprotect), PROT_EXEC);
    // Questions to a device: whatever there is to know is known by now.
    require(seccomp_rule_add(filter.get(), SCMP_ACT_ERRNO(ENOTTY), SCMP_SYS(ioctl), 0) == 0, "no filter");
    require(seccomp_load(filter.get()) == 0, "the kernel takes no filter");
}

} // namespace Confinement
