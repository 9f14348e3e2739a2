#include "Platform/ImageIO/InputFile.hpp"

#include <algorithm>
#include <cstring>
#include <system_error>

namespace platform {

using Code = ImageError::Code;

namespace {

ImageError errorOf(const std::error_code& error) {
    if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory)
        return {Code::missing, {}};
    if (error == std::errc::permission_denied || error == std::errc::operation_not_permitted)
        return {Code::noPermission, {}};
    if (error == std::errc::invalid_argument || error == std::errc::no_such_device_or_address ||
        error == std::errc::no_such_device)
        return {Code::notRegularFile, {}};
    return {Code::readFailed, error.message()};
}

} // namespace

std::expected<InputFile, ImageError> InputFile::open(const std::filesystem::path& file) {
    auto opened = RegularFile::open(file);
    if (!opened)
        return std::unexpected(errorOf(opened.error()));
    return InputFile(std::move(*opened));
}

std::expected<InputFile, ImageError> InputFile::open(const std::filesystem::path& file, const FileIdentity& identity) {
    auto opened = open(file);
    if (opened && opened->identity() != identity)
        return std::unexpected(ImageError{Code::changed, {}});
    return opened;
}

std::expected<std::size_t, ImageError> InputFile::read(std::int64_t offset, std::span<std::byte> into) const {
    const auto count = file_.readAt(offset, into);
    if (!count)
        return std::unexpected(errorOf(count.error()));
    return *count;
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

std::span<const std::byte> InputStream::next(std::size_t most) {
    if (rest_.empty() && !error_) {
        const auto count = file_.read(offset_, buffer_);
        if (!count)
            error_ = count.error();
        else
            rest_ = std::span(buffer_).first(*count);
        offset_ += static_cast<std::int64_t>(rest_.size());
    }
    const auto bytes = rest_.first(std::min(most, rest_.size()));
    rest_ = rest_.subspan(bytes.size());
    return bytes;
}

bool InputStream::read(std::span<std::byte> into) {
    while (!into.empty()) {
        const auto bytes = next(into.size());
        if (bytes.empty())
            return false;
        std::memcpy(into.data(), bytes.data(), bytes.size());
        into = into.subspan(bytes.size());
    }
    return true;
}

void InputStream::skip(std::int64_t count) {
    const auto atHand = std::min(count, static_cast<std::int64_t>(rest_.size()));
    rest_ = rest_.subspan(static_cast<std::size_t>(atHand));
    offset_ += count - atHand;
}

} // namespace platform
