#pragma once

#include "Platform/Foundation/FileDescriptor.hpp"
#include "Platform/Foundation/SystemCalls.hpp"

#include <expected>
#include <filesystem>
#include <system_error>

namespace platform {

/// A file that goes away with its owner unless it has been moved to a name of its own. It has no name until then where
/// the file system allows that, else a hidden one.
class TemporaryFile {
public:
    [[nodiscard]] static std::expected<TemporaryFile, std::error_code> create(const std::filesystem::path& folder);

    TemporaryFile(TemporaryFile&&) noexcept = default;
    TemporaryFile& operator=(TemporaryFile&&) = delete;
    ~TemporaryFile();

    int descriptor() const { return descriptor_.number(); }

    /// `destination` is in the same folder. After an error it is as it was before.
    [[nodiscard]] systemCalls::Result moveTo(const std::filesystem::path& destination, systemCalls::Target target);

private:
    explicit TemporaryFile(FileDescriptor descriptor, std::filesystem::path name)
        : descriptor_(std::move(descriptor)), name_(std::move(name)) {}

    FileDescriptor descriptor_;
    std::filesystem::path name_; ///< empty: it has none
};

} // namespace platform
