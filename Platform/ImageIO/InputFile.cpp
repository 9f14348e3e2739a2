#include "Platform/ImageIO/InputFile.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

namespace platform {

using Code = ImageError::Code;

namespace {

ImageError errorOf(int number) {
    const Code code = number == ENOENT || number == ENOTDIR ? Code::missing
                      : number == EACCES || number == EPERM ? Code::noPermission
                      : number == ENXIO || number == ENODEV ? Code::notRegularFile
                                                            : Code::readFailed;
    const bool saysAll = code == Code::missing || code == Code::noPermission || code == Code::notRegularFile;
    return {code, saysAll ? "" : std::generic_category().message(number)};
}

} // namespace

InputFile::Descriptor::~Descriptor() {
    close(number);
}

std::expected<InputFile, ImageError> InputFile::open(const std::filesystem::path& file) {
    const int number = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (number < 0)
        return std::unexpected(errorOf(errno));
    auto descriptor = std::make_unique<Descriptor>(number);
    struct stat status = {};
    if (fstat(number, &status) != 0)
        return std::unexpected(errorOf(errno));
    if (!S_ISREG(status.st_mode))
        return std::unexpected(ImageError{Code::notRegularFile, {}});
    return InputFile(std::move(descriptor), {status.st_dev, status.st_ino, status.st_size, status.st_mtim});
}

std::expected<InputFile, ImageError> InputFile::open(const std::filesystem::path& file, const FileIdentity& identity) {
    auto opened = open(file);
    if (opened && opened->identity() != identity)
        return std::unexpected(ImageError{Code::changed, {}});
    return opened;
}

std::expected<std::size_t, ImageError> InputFile::read(std::int64_t offset, std::span<std::byte> into) const {
    std::size_t done = 0;
    while (done < into.size()) {
        const ssize_t count = pread(descriptor_->number, into.data() + done, into.size() - done,
                                    offset + static_cast<std::int64_t>(done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::unexpected(errorOf(errno));
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

std::expected<std::vector<std::byte>, ImageError> InputFile::readAll() const {
    std::vector<std::byte> bytes(static_cast<std::size_t>(size()));
    const auto count = read(0, bytes);
    if (!count)
        return std::unexpected(count.error());
    if (*count != bytes.size())
        return std::unexpected(ImageError{Code::changed, {}});
    return bytes;
}

std::span<const std::byte> InputStream::next() {
    if (rest_.empty() && !error_) {
        const auto count = file_.read(offset_, buffer_);
        if (!count)
            error_ = count.error();
        else
            rest_ = std::span(buffer_).first(*count);
        offset_ += static_cast<std::int64_t>(rest_.size());
    }
    return std::exchange(rest_, {});
}

bool InputStream::read(std::span<std::byte> into) {
    while (!into.empty()) {
        const auto bytes = next();
        if (bytes.empty())
            return false;
        const std::size_t count = std::min(bytes.size(), into.size());
        std::memcpy(into.data(), bytes.data(), count);
        into = into.subspan(count);
        rest_ = bytes.subspan(count);
    }
    return true;
}

void InputStream::skip(std::int64_t count) {
    const auto atHand = std::min(count, static_cast<std::int64_t>(rest_.size()));
    rest_ = rest_.subspan(static_cast<std::size_t>(atHand));
    offset_ += count - atHand;
}

} // namespace platform
