#include "Platform/ImageIO/CodecsProcess.hpp"

#include "Platform/Foundation/Device.hpp"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>

extern char** environ;

namespace platform {

namespace fs = std::filesystem;
using Code = ImageError::Code;
using Done = std::expected<void, ImageError>;
using namespace std::chrono_literals;

namespace {

/// Spawning attributes that end with their owner.
struct Attributes {
    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;

    Attributes() {
        posix_spawn_file_actions_init(&files);
        posix_spawnattr_init(&attributes);
    }
    ~Attributes() {
        posix_spawn_file_actions_destroy(&files);
        posix_spawnattr_destroy(&attributes);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
};

/// A copy whose number is none of the standard streams'.
FileDescriptor aside(int number) {
    return FileDescriptor(fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

/// The folders of the library that holds this code and of the program.
std::vector<fs::path> ownFolders() {
    std::vector<fs::path> folders;
    std::error_code unknown;
    Dl_info library = {};
    if (dladdr(reinterpret_cast<const void*>(&codecsProgram), &library) != 0 && library.dli_fname &&
        fs::path(library.dli_fname).is_absolute())
        folders.push_back(fs::canonical(library.dli_fname, unknown).parent_path());
    folders.push_back(fs::read_symlink("/proc/self/exe", unknown).parent_path());
    std::erase_if(folders, [](const fs::path& folder) { return folder.empty(); });
    return folders;
}

ImageError failure() {
    return {Code::damaged, "velmorant-codecs gave up"};
}

/// That a process has taken so far.
std::chrono::nanoseconds processorTime(pid_t process) {
    clockid_t clock;
    timespec time = {};
    if (clock_getcpuclockid(process, &clock) == 0)
        clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

bool isProgram(const fs::path& file) {
    std::error_code unknown;
    return fs::is_regular_file(file, unknown) && access(file.c_str(), X_OK) == 0;
}

} // namespace

std::optional<fs::path> codecsProgram() {
    if (const fs::path& set = Device::current().codecs; !set.empty())
        return set;
    // As the build lays them out, as an install does, from bin, lib and lib/TRIPLET, and as a wheel does.
    constexpr const char* places[] = {"../Codecs", "../libexec/velmorant", "../../libexec/velmorant", "."};
    for (const fs::path& folder : ownFolders())
        for (const char* place : places)
            if (fs::path program = (folder / place / "velmorant-codecs").lexically_normal(); isProgram(program))
                return program;
    if (const char* named = std::getenv("VELMORANT_CODECS"); named && *named)
        return named;
    return std::nullopt;
}

std::expected<std::unique_ptr<CodecsProcess>, ImageError> CodecsProcess::start(const std::vector<std::string>& words,
                                                                               const InputFile* file) {
    const auto program = codecsProgram();
    if (!program)
        return std::unexpected(ImageError{Code::unsupported, "the program velmorant-codecs is not installed"});

    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0)
        return std::unexpected(ImageError{Code::readFailed, std::strerror(errno)});
    FileDescriptor ours(pair[0]);
    const FileDescriptor theirs(pair[1]);
    const FileDescriptor output = aside(theirs.number());
    const FileDescriptor input = file ? aside(file->number()) : FileDescriptor();
    if (!output || (file && !input))
        return std::unexpected(ImageError{Code::readFailed, std::strerror(errno)});

    Attributes setup;
    if (input)
        posix_spawn_file_actions_adddup2(&setup.files, input.number(), STDIN_FILENO);
    else
        posix_spawn_file_actions_addopen(&setup.files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&setup.files, output.number(), STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&setup.files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&setup.attributes, &none);
    posix_spawnattr_setflags(&setup.attributes, POSIX_SPAWN_SETSIGMASK);

    std::vector<char*> arguments = {const_cast<char*>(program->c_str())};
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    pid_t process = 0;
    if (const int error =
            posix_spawn(&process, program->c_str(), &setup.files, &setup.attributes, arguments.data(), environ);
        error != 0)
        return std::unexpected(ImageError{Code::unsupported, program->native() + ": " + std::strerror(error)});
    return std::unique_ptr<CodecsProcess>(new CodecsProcess(process, std::move(ours)));
}

CodecsProcess::~CodecsProcess() {
    kill(process_, SIGKILL); // nothing is left for it to do, and it holds nothing
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

Done CodecsProcess::waitFor(short event) {
    constexpr std::chrono::milliseconds patience = 8s, step = 500ms;
    for (std::chrono::nanoseconds idle{}; idle < patience; idle += step) {
        pollfd entry{.fd = socket_.number(), .events = event, .revents = 0};
        const int ready = poll(&entry, 1, static_cast<int>(step.count()));
        if (ready > 0 || (ready < 0 && errno == EINTR))
            return {};
        if (ready < 0)
            return std::unexpected(failure());
        const auto time = processorTime(process_);
        if (time > seenTime_)
            idle = {};
        seenTime_ = time;
    }
    return std::unexpected(ImageError{Code::damaged, "velmorant-codecs did not come to an end"});
}

Done CodecsProcess::receive(std::span<std::byte> into) {
    while (!into.empty()) {
        const ssize_t count = recv(socket_.number(), into.data(), into.size(), MSG_DONTWAIT);
        if (count > 0) {
            into = into.subspan(static_cast<std::size_t>(count));
        } else if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
            if (auto waited = waitFor(POLLIN); !waited)
                return waited;
        } else {
            return std::unexpected(failure());
        }
    }
    return {};
}

Done CodecsProcess::send(std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket_.number(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count >= 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        } else if (errno == EAGAIN || errno == EINTR) {
            if (auto waited = waitFor(POLLOUT); !waited)
                return waited;
        } else {
            return std::unexpected(failure());
        }
    }
    return {};
}

} // namespace platform
