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
    return RegularFile(std::move(descriptor), static_cast<std::uint64_t>(status.st_size));
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

} // namespace platform
