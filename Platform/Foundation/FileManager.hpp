#pragma once

#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace platform {

/// Whole files and folders. Every change is on the disk when the call returns.
class FileManager {
public:
    static constexpr std::uint64_t mostBytes = std::uint64_t{1} << 30;

    /// The device's, which need not exist; nothing where it has none.
    static std::optional<std::filesystem::path> documentsDirectory();
    static std::optional<std::filesystem::path> cachesDirectory();

    /// The whole content. Fails with `file_too_large` above `most`, and with `invalid_argument` for anything but a
    /// regular file.
    [[nodiscard]] static std::expected<std::string, std::error_code> contents(const std::filesystem::path& file,
                                                                              std::uint64_t most = mostBytes);

    /// Replaces the file, as AtomicFile.hpp says. Its folder must exist.
    [[nodiscard]] static std::expected<void, std::error_code> write(const std::filesystem::path& file,
                                                                    std::string_view content);

    /// With all folders above it that are missing. A folder that exists already is no error.
    [[nodiscard]] static std::expected<void, std::error_code> createDirectory(const std::filesystem::path& folder);

    /// A file, or a folder with everything in it. Nothing there is no error.
    [[nodiscard]] static std::expected<void, std::error_code> remove(const std::filesystem::path& item);

    /// Renames a file that does not decode to "NAME.damaged-1", or the next number that is free, and answers the name.
    [[nodiscard]] static std::expected<std::filesystem::path, std::error_code>
    setAsideDamaged(const std::filesystem::path& file);
};

} // namespace platform
