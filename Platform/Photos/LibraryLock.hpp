#pragma once

#include "Platform/Foundation/FileDescriptor.hpp"
#include "Platform/Photos/PhotoLibraryError.hpp"

#include <expected>
#include <filesystem>
#include <functional>
#include <memory>

namespace platform {

/// Held by the one process that changes a photo library. The system frees it with its holder, however that ends; the
/// file then says that it was not let go in order.
class LibraryLock {
public:
    /// Waits for the process that holds it, as long as `keepsWaiting`, which is asked some times a second, says so;
    /// then fails with `busy`. The folder must exist.
    [[nodiscard]] static std::expected<std::shared_ptr<LibraryLock>, PhotoLibraryError>
    take(const std::filesystem::path& folder, const std::function<bool()>& keepsWaiting = [] { return true; });

    ~LibraryLock();
    LibraryLock(const LibraryLock&) = delete;
    LibraryLock& operator=(const LibraryLock&) = delete;

    /// The last holder was killed: original files may lie about that the catalogue does not name.
    bool followsKill() const { return followsKill_; }

private:
    LibraryLock(FileDescriptor file, bool followsKill) : file_(std::move(file)), followsKill_(followsKill) {}

    const FileDescriptor file_;
    const bool followsKill_;
};

} // namespace platform
