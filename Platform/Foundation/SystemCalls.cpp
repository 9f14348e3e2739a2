#include "Platform/Foundation/SystemCalls.hpp"

#include "Platform/Foundation/FailingWrites.hpp"
#include "Platform/Foundation/FileDescriptor.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

namespace platform::systemCalls {

namespace {

Result answer(int status) {
    return status == 0 ? Result() : std::unexpected(lastError());
}

Result noSpace() {
    return std::unexpected(std::make_error_code(std::errc::no_space_on_device));
}

/// The name that a process can link its open file by.
std::string procName(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

} // namespace

std::error_code lastError() {
    return {errno, std::generic_category()};
}

Result writeAll(int descriptor, std::span<const std::byte> bytes) {
    const bool fails = FailingWrites::isToFail();
    if (fails)
        bytes = bytes.first(bytes.size() / 2);
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::unexpected(lastError());
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return fails ? noSpace() : Result();
}

Result flush(int descriptor) {
    return FailingWrites::isToFail() ? noSpace() : answer(fsync(descriptor));
}

Result flushFolder(const std::filesystem::path& folder) {
    if (FailingWrites::isToFail())
        return noSpace();
    const FileDescriptor opened(open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened && errno == EACCES)
        return {};
    if (!opened)
        return std::unexpected(lastError());
    const Result flushed = answer(fsync(opened.number()));
    return !flushed && flushed.error() == std::errc::invalid_argument ? Result() : flushed; // not on this file system
}

std::expected<int, std::error_code> openUnnamed(const std::filesystem::path& folder) {
    if (SimpleFileSystem::isSet())
        return std::unexpected(std::make_error_code(std::errc::operation_not_supported));
    FileDescriptor opened(open(folder.empty() ? "." : folder.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, 0666));
    // Without the names of /proc it could never be given one.
    if (!opened || access(procName(opened.number()).c_str(), F_OK) != 0)
        return std::unexpected(lastError());
    return opened.release();
}

Result name(int descriptor, const std::filesystem::path& file) {
    if (FailingWrites::isToFail())
        return noSpace();
    return answer(linkat(AT_FDCWD, procName(descriptor).c_str(), AT_FDCWD, file.c_str(), AT_SYMLINK_FOLLOW));
}

Result rename(const std::filesystem::path& from, const std::filesystem::path& to, Target target) {
    if (FailingWrites::isToFail())
        return noSpace();
    if (target == Target::replace)
        return answer(std::rename(from.c_str(), to.c_str()));
    if (!SimpleFileSystem::isSet()) {
        if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
            return {};
        if (errno != EINVAL && errno != ENOSYS)
            return std::unexpected(lastError());
    }
    // The file system does not know it; a hard link fails where the name is taken, too.
    const Result linked = answer(link(from.c_str(), to.c_str()));
    if (linked)
        unlink(from.c_str());
    return linked;
}

} // namespace platform::systemCalls
