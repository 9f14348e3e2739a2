#include "Codecs/Sandbox.hpp"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/landlock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <vector>

namespace codecs {

namespace {

/// What a process might do that took over a decoder. Each answers less than zero where it fails.
struct Attempt {
    const char* name;
    long (*make)();
    int landlock; ///< the version since which it refuses this by itself; 0: never
};

const std::vector<Attempt> attempts = {
    {"read a file", [] { return long{open("/etc/passwd", O_RDONLY)}; }, 1},
    {"write a file", [] { return long{open("/tmp/velmorant-sandbox", O_WRONLY | O_CREAT, 0600)}; }, 1},
    {"list a folder", [] { return long{open("/", O_RDONLY | O_DIRECTORY)}; }, 1},
    {"make a folder", [] { return long{mkdir("/tmp/velmorant-sandbox-folder", 0700)}; }, 1},
    {"run a program",
     [] {
         char name[] = "/bin/true", *const words[] = {name, nullptr};
         return long{execve(name, words, nullptr)};
     },
     1},
    {"connect to a port",
     [] {
         const sockaddr_in nobody{.sin_family = AF_INET, .sin_port = htons(1), .sin_addr = {htonl(INADDR_LOOPBACK)}};
         const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
         return long{connect(socket, reinterpret_cast<const sockaddr*>(&nobody), sizeof nobody)};
     },
     4},
    {"start a process", [] { return long{fork()}; }, 0},
    {"end the program", [] { return long{kill(getppid(), 0)}; }, 0},
    {"look into the program", [] { return syscall(SYS_process_vm_readv, getppid(), nullptr, 0, nullptr, 0, 0); }, 0},
};

/// The error that it ends with in a process of its own that has given up its rights; 0 where it succeeds.
int errorOf(void (*giveUp)(), const Attempt& attempt) {
    const pid_t child = fork();
    if (child == 0) {
        giveUp();
        _exit(attempt.make() < 0 ? errno : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

TEST(Sandbox, TheKernelRefusesFilesAndPorts) {
    const long version = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 1)
        GTEST_SKIP() << "this kernel has no Landlock";
    for (const Attempt& attempt : attempts) {
        if (attempt.landlock == 0 || attempt.landlock > version)
            continue;
        EXPECT_EQ(errorOf([] { forbidFiles(); }, attempt), EACCES) << attempt.name;
    }
}

TEST(Sandbox, NoCallLeadsOutOfIt) {
    if (isSanitized)
        GTEST_SKIP() << "sanitizers need more than the filter allows";
    for (const Attempt& attempt : attempts)
        EXPECT_EQ(errorOf([] { enterSandbox(100'000'000, 5); }, attempt), EPERM) << attempt.name;
}

} // namespace codecs
