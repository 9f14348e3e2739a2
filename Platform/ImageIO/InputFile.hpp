#pragma once

#include "Platform/CoreGraphics/ImageError.hpp"
#include "Platform/Foundation/RegularFile.hpp"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <limits>
#include <optional>
#include <span>
#include <vector>

namespace platform {

/// A regular file, read with `pread`: one that shrinks meanwhile is an error and no crash. Opened without blocking.
class InputFile {
public:
    [[nodiscard]] static std::expected<InputFile, ImageError> open(const std::filesystem::path& file);
    /// Fails with `changed` where it is not the file of this identity any more.
    [[nodiscard]] static std::expected<InputFile, ImageError> open(const std::filesystem::path& file,
                                                                   const FileIdentity& identity);

    const FileIdentity& identity() const { return file_.identity(); }
    std::int64_t size() const { return identity().size; }
    /// The open file's number, for another process to read; it stays this object's.
    int number() const { return file_.number(); }

    /// Up to `into.size()` bytes from `offset`; fewer only at the file's end.
    [[nodiscard]] std::expected<std::size_t, ImageError> read(std::int64_t offset, std::span<std::byte> into) const;

    /// The whole content, as long as the file was when it was opened.
    [[nodiscard]] std::expected<std::vector<std::byte>, ImageError> readAll() const;

private:
    explicit InputFile(RegularFile file) : file_(std::move(file)) {}

    RegularFile file_;
};

/// Reads an `InputFile` from its start on, for codecs that ask for bytes bit by bit. After an error `read` answers 0.
class InputStream {
public:
    explicit InputStream(InputFile file) : file_(std::move(file)) {}

    /// Bytes that follow, at least one and as many as are at hand, `most` at most; none at the end of the file or after
    /// an error. Valid until the next call.
    std::span<const std::byte> next(std::size_t most = std::numeric_limits<std::size_t>::max());

    /// Fills `into`; false at the end of the file or after an error.
    bool read(std::span<std::byte> into);

    /// Moves past `count` bytes.
    void skip(std::int64_t count);

    /// The file, for someone else to read; this is not to be used any more.
    InputFile release() { return std::move(file_); }

    /// Set once reading has failed.
    const std::optional<ImageError>& error() const { return error_; }

private:
    InputFile file_;
    std::int64_t offset_ = 0;
    std::vector<std::byte> buffer_ = std::vector<std::byte>(std::size_t{1} << 16);
    std::span<const std::byte> rest_; ///< of the buffer
    std::optional<ImageError> error_;
};

} // namespace platform
