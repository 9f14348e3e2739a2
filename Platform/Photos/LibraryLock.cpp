#include "Platform/Photos/LibraryLock.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

namespace platform {

std::expected<std::shared_ptr<LibraryLock>, PhotoLibraryError>
LibraryLock::take(const std::filesystem::path& folder, const std::function<bool()>& keepsWaiting) {
    const std::filesystem::path name = folder / ".lock";
    const auto failed = [&] {
        return std::unexpected(PhotoLibraryError{PhotoLibraryError::Code::writeFailed, name,
                                                 std::error_code(errno, std::generic_category()).message()});
    };
    // A link could have another file emptied below.
    FileDescriptor file(open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666));
    if (!file)
        return failed();
    while (flock(file.number(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return failed();
        if (!keepsWaiting())
            return std::unexpected(PhotoLibraryError{PhotoLibraryError::Code::busy, name});
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    struct stat state = {};
    const bool followsKill = fstat(file.number(), &state) == 0 && state.st_size > 0;
    std::ignore = ftruncate(file.number(), 1); // takes no space, so a full disk does not hinder it
    return std::shared_ptr<LibraryLock>(new LibraryLock(std::move(file), followsKill));
}

LibraryLock::~LibraryLock() {
    std::ignore = ftruncate(file_.number(), 0);
}

} // namespace platform
