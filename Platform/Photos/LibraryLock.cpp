#include "Platform/Photos/LibraryLock.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

namespace platform {

std::expected<std::shared_ptr<LibraryLock>, PhotoLibraryError> LibraryLock::take(const std::filesystem::path& folder) {
    const std::filesystem::path name = folder / ".lock";
    const auto failed = [&] {
        return std::unexpected(PhotoLibraryError{PhotoLibraryError::Code::writeFailed, name,
                                                 std::error_code(errno, std::generic_category()).message()});
    };
    FileDescriptor file(open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
    if (!file)
        return failed();
    while (flock(file.number(), LOCK_EX) != 0)
        if (errno != EINTR)
            return failed();
    struct stat state = {};
    const bool followsKill = fstat(file.number(), &state) == 0 && state.st_size > 0;
    std::ignore = ftruncate(file.number(), 1); // takes no space, so a full disk does not hinder it
    return std::shared_ptr<LibraryLock>(new LibraryLock(std::move(file), followsKill));
}

LibraryLock::~LibraryLock() {
    std::ignore = ftruncate(file_.number(), 0);
}

} // namespace platform
