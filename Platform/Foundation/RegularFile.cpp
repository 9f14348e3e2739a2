#include "Platform/Foundation/RegularFile.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace platform {

namespace {

auto lastError() {
    return std::unexpected(std::error_code(errno, std::generic_category()));
}

} // namespace

std::expected<RegularFile, std::error_code> RegularFile::open(const std::filesystem::path& file) {
    FileDescriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    if (!descriptor || fstat(descriptor.number(), &status) != 0)
        return lastError();
    if (!S_ISREG(status.st_mode))
        return std::unexpected(std::make_error_code(std::errc::invalid_argument));
    return RegularFile(std::move(descriptor), {.device = status.st_dev,
                                               .inode = status.st_ino,
                                               .size = status.st_size,
                                               .modifiedSeconds = status.st_mtim.tv_sec,
                                               .modifiedNanoseconds = status.st_mtim.tv_nsec});
}

std::expected<std::size_t, std::error_code> RegularFile::read(std::span<std::byte> into) const {
    for (;;) {
        const ssize_t count = ::read(descriptor_.number(), into.data(), into.size());
        if (count >= 0)
            return static_cast<std::size_t>(count);
        if (errno != EINTR)
            return lastError();
    }
}

std::expected<std::size_t, std::error_code> RegularFile::readAt(std::int64_t offset, std::span<std::byte> into) const {
    std::size_t done = 0;
    while (done < into.size()) {
        const ssize_t count = pread(descriptor_.number(), into.data() + done, into.size() - done,
                                    offset + static_cast<std::int64_t>(done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return lastError();
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

} // namespace platform
