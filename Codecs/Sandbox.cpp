#include "Codecs/Sandbox.hpp"

#include <linux/landlock.h>
#include <malloc.h>
#include <pthread.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <thread>

namespace codecs {

namespace {

void limit(__rlimit_resource resource, rlim_t most) {
    const rlimit both{most, most};
    setrlimit(resource, &both);
}

/// What memory, threads, clocks and the two open files need; all else fails with EPERM.
void forbidCalls() {
    auto* const filter = seccomp_init(SCMP_ACT_ERRNO(EPERM));
    if (!filter)
        return;
    constexpr int allowed[] = {
        SCMP_SYS(read),
        SCMP_SYS(pread64),
        SCMP_SYS(write),
        SCMP_SYS(writev),
        SCMP_SYS(recvfrom),
        SCMP_SYS(sendto),
        SCMP_SYS(poll),
        SCMP_SYS(ppoll),
        SCMP_SYS(close),
        SCMP_SYS(fstat),
        SCMP_SYS(newfstatat),
        SCMP_SYS(lseek),
        SCMP_SYS(mmap),
        SCMP_SYS(munmap),
        SCMP_SYS(mremap),
        SCMP_SYS(mprotect),
        SCMP_SYS(madvise),
        SCMP_SYS(brk),
        SCMP_SYS(futex),
        SCMP_SYS(set_robust_list),
        SCMP_SYS(rseq),
        SCMP_SYS(sched_yield),
        SCMP_SYS(sched_getaffinity),
        SCMP_SYS(exit),
        SCMP_SYS(exit_group),
        SCMP_SYS(rt_sigaction),
        SCMP_SYS(rt_sigprocmask),
        SCMP_SYS(rt_sigreturn),
        SCMP_SYS(sigaltstack),
        SCMP_SYS(clock_gettime),
        SCMP_SYS(clock_nanosleep),
        SCMP_SYS(gettimeofday),
        SCMP_SYS(getpid),
        SCMP_SYS(gettid),
        SCMP_SYS(getrandom),
        SCMP_SYS(prlimit64),
    };
    bool isComplete = true;
    for (const int call : allowed)
        isComplete &= seccomp_rule_add(filter, SCMP_ACT_ALLOW, call, 0) == 0;
    // Threads, no processes. The flags of clone3 lie in memory, where a filter cannot see them: libc then takes clone.
    isComplete &= seccomp_rule_add(filter, SCMP_ACT_ALLOW, SCMP_SYS(clone), 1,
                                   scmp_arg_cmp{0, SCMP_CMP_MASKED_EQ, CLONE_THREAD, CLONE_THREAD}) == 0;
    isComplete &= seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3), 0) == 0;
    isComplete &= seccomp_rule_add(filter, SCMP_ACT_ALLOW, SCMP_SYS(prctl), 1,
                                   scmp_arg_cmp{0, SCMP_CMP_EQ, PR_SET_NAME, 0}) == 0; // of threads
    if (isComplete)
        seccomp_load(filter);
    seccomp_release(filter);
}

} // namespace

bool forbidFiles() {
    const long version = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 1)
        return false;
    struct {
        std::uint64_t files, network;           // the second since version 4
    } handled{(std::uint64_t{1} << 13) - 1, 0}; // LANDLOCK_ACCESS_FS_EXECUTE to _MAKE_SYM, version 1
    if (version >= 2)
        handled.files |= 1 << 13; // _REFER
    if (version >= 3)
        handled.files |= 1 << 14; // _TRUNCATE
    if (version >= 5)
        handled.files |= 1 << 15; // _IOCTL_DEV
    if (version >= 4)
        handled.network = 3; // LANDLOCK_ACCESS_NET_BIND_TCP, _CONNECT_TCP
    const std::size_t size = version >= 4 ? sizeof handled : sizeof handled.files;
    const long rules = syscall(SYS_landlock_create_ruleset, &handled, size, 0);
    if (rules < 0)
        return false;
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    const bool isDone = syscall(SYS_landlock_restrict_self, rules, 0) == 0;
    close(static_cast<int>(rules));
    return isDone;
}

void enterSandbox(std::int64_t memory, unsigned seconds) {
    signal(SIGINT, SIG_IGN); // Ctrl-C ends the program, and that ends this
    mallopt(M_ARENA_MAX, 2); // each reserves addresses
    const auto threads = std::clamp<rlim_t>(std::thread::hardware_concurrency(), 1, 64);
    constexpr std::size_t stack = 2 << 20; // of the 8 MB that are usual all count as taken
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stack);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
    close_range(STDERR_FILENO + 1, ~0u, 0);
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_FSIZE, 0);
    limit(RLIMIT_CPU, seconds);
    if (isSanitized)
        return;
    constexpr rlim_t addresses = 1 << 30; // of code, and reserved ones
    const rlim_t itself = (64 << 20) + threads * stack;
    limit(RLIMIT_DATA, static_cast<rlim_t>(memory) + itself);
    limit(RLIMIT_AS, static_cast<rlim_t>(memory) + itself + addresses);
    prctl(PR_SET_DUMPABLE, 0);
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    forbidFiles();
    forbidCalls();
    limit(RLIMIT_NOFILE, STDERR_FILENO + 1); // those are open, and there is no room for others
}

} // namespace codecs
