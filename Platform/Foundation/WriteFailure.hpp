#pragma once

#include <filesystem>
#include <optional>
#include <system_error>

namespace platform {

/// A file that could not be written. Interfaces whose callbacks cannot report a failure leave it here.
struct WriteFailure {
    std::filesystem::path file;
    std::error_code error;
};

/// The device's last one since it was set up. Any thread.
std::optional<WriteFailure> lastWriteFailure();
void keepWriteFailure(const std::filesystem::path& file, std::error_code error);

} // namespace platform
