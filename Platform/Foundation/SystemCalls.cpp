#include "Platform/Foundation/SystemCalls.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>

namespace platform::systemCalls {

namespace {

std::atomic<int> callsUntilFailure = 0; // 0: none is to fail; 1: the next; -1: it has happened

Result lastError() {
    return std::unexpected(std::error_code(errno, std::generic_category()));
}

bool isToFail() {
    int left = callsUntilFailure;
    while (left > 0 && !callsUntilFailure.compare_exchange_weak(left, left == 1 ? -1 : left - 1)) {
    }
    return left == 1;
}

const auto noSpace = [] { return std::unexpected(std::make_error_code(std::errc::no_space_on_device)); };

} // namespace

Result writeAll(int descriptor, std::span<const std::byte> bytes) {
    if (isToFail())
        return noSpace();
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return lastError();
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return {};
}

Result flush(int descriptor) {
    if (isToFail())
        return noSpace();
    return fsync(descriptor) == 0 ? Result() : lastError();
}

Result rename(const std::filesystem::path& from, const std::filesystem::path& to, bool replace) {
    if (isToFail())
        return noSpace();
    if (replace)
        return std::rename(from.c_str(), to.c_str()) == 0 ? Result() : lastError();
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return {};
    if (errno != EINVAL && errno != ENOSYS)
        return lastError();
    // File systems without it: a hard link fails where the name is taken, too.
    if (link(from.c_str(), to.c_str()) != 0)
        return lastError();
    unlink(from.c_str());
    return {};
}

Result flushFolder(const std::filesystem::path& folder) {
    if (isToFail())
        return noSpace();
    const int descriptor = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return lastError();
    const Result flushed = fsync(descriptor) == 0 || errno == EINVAL ? Result() : lastError(); // EINVAL: cannot be
    close(descriptor);
    return flushed;
}

FailingCall::FailingCall(int n) {
    callsUntilFailure = n;
}
FailingCall::~FailingCall() {
    callsUntilFailure = 0;
}
bool FailingCall::happened() const {
    return callsUntilFailure == -1;
}

} // namespace platform::systemCalls
