#pragma once

#include "Platform/Foundation/FileDescriptor.hpp"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <span>
#include <system_error>

namespace platform {

/// A file that is read from its start on.
class RegularFile {
public:
    /// Fails with `invalid_argument` for anything but a regular file, and never waits for a pipe's other end.
    [[nodiscard]] static std::expected<RegularFile, std::error_code> open(const std::filesystem::path& file);

    /// In bytes, when it was opened.
    std::uint64_t size() const { return size_; }

    /// Up to `into.size()` bytes that follow; none at the file's end.
    [[nodiscard]] std::expected<std::size_t, std::error_code> read(std::span<std::byte> into) const;

private:
    RegularFile(FileDescriptor descriptor, std::uint64_t size) : descriptor_(std::move(descriptor)), size_(size) {}

    FileDescriptor descriptor_;
    std::uint64_t size_;
};

} // namespace platform
