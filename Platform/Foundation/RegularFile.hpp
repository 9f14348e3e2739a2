#pragma once

#include "Platform/Foundation/FileDescriptor.hpp"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <span>
#include <system_error>

namespace platform {

/// What tells a file from another of its name.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0; ///< in bytes
    std::int64_t modifiedSeconds = 0;
    std::int64_t modifiedNanoseconds = 0;

    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// An open regular file.
class RegularFile {
public:
    /// Fails with `invalid_argument` for anything but a regular file, and never waits for a pipe's other end.
    [[nodiscard]] static std::expected<RegularFile, std::error_code> open(const std::filesystem::path& file);

    /// As it was when it was opened.
    const FileIdentity& identity() const { return identity_; }
    std::uint64_t size() const { return static_cast<std::uint64_t>(identity_.size); }
    int number() const { return descriptor_.number(); }

    /// Up to `into.size()` bytes that follow those read so far; none at the file's end.
    [[nodiscard]] std::expected<std::size_t, std::error_code> read(std::span<std::byte> into) const;

    /// The bytes from `offset` on, whatever was read so far: fewer than `into.size()` only at the file's end.
    [[nodiscard]] std::expected<std::size_t, std::error_code> readAt(std::int64_t offset,
                                                                     std::span<std::byte> into) const;

private:
    RegularFile(FileDescriptor descriptor, const FileIdentity& identity)
        : descriptor_(std::move(descriptor)), identity_(identity) {}

    FileDescriptor descriptor_;
    FileIdentity identity_;
};

} // namespace platform
