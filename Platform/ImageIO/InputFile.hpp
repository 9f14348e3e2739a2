#pragma once

#include "Platform/CoreGraphics/ImageError.hpp"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace platform {

/// What tells a file from another of its name.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    std::int64_t size = 0;
    std::timespec modified = {};

    friend bool operator==(const FileIdentity& a, const FileIdentity& b) {
        return a.device == b.device && a.inode == b.inode && a.size == b.size &&
               a.modified.tv_sec == b.modified.tv_sec && a.modified.tv_nsec == b.modified.tv_nsec;
    }
};

/// A regular file, read with `pread`: one that shrinks meanwhile is an error and no crash. Opened without blocking.
class InputFile {
public:
    [[nodiscard]] static std::expected<InputFile, ImageError> open(const std::filesystem::path& file);
    /// Fails with `changed` where it is not the file of this identity any more.
    [[nodiscard]] static std::expected<InputFile, ImageError> open(const std::filesystem::path& file,
                                                                   const FileIdentity& identity);

    const FileIdentity& identity() const { return identity_; }
    std::int64_t size() const { return identity_.size; }

    /// Up to `into.size()` bytes from `offset`; fewer only at the file's end.
    [[nodiscard]] std::expected<std::size_t, ImageError> read(std::int64_t offset, std::span<std::byte> into) const;

    /// The whole content, as long as the file was when it was opened.
    [[nodiscard]] std::expected<std::vector<std::byte>, ImageError> readAll() const;

private:
    struct Descriptor {
        explicit Descriptor(int opened) : number(opened) {}
        ~Descriptor();
        const int number;
    };

    InputFile(std::unique_ptr<Descriptor> descriptor, const FileIdentity& identity)
        : descriptor_(std::move(descriptor)), identity_(identity) {}

    std::unique_ptr<Descriptor> descriptor_;
    FileIdentity identity_;
};

/// Reads an `InputFile` from its start on, for codecs that ask for bytes bit by bit. After an error `read` answers 0.
class InputStream {
public:
    explicit InputStream(InputFile file) : file_(std::move(file)) {}

    /// Bytes that follow, at least one and as many as are at hand; none at the end of the file or after an error. Valid
    /// until the next call.
    std::span<const std::byte> next();

    /// Fills `into`; false at the end of the file or after an error.
    bool read(std::span<std::byte> into);

    /// Moves past `count` bytes.
    void skip(std::int64_t count);

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
