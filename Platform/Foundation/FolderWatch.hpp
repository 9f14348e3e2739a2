#pragma once

#include "Platform/Foundation/FileDescriptor.hpp"

#include <filesystem>
#include <functional>
#include <memory>
#include <thread>

namespace platform {

/// Calls back, on a thread of its own, whenever something directly in a folder was written, came or went. Only hints:
/// it may call once for many changes, and for none.
class FolderWatch {
public:
    /// Null where the system cannot watch the folder, which must exist.
    static std::unique_ptr<FolderWatch> make(const std::filesystem::path& folder, std::function<void()> changed);
    /// Returns once no more calls come.
    ~FolderWatch();

private:
    FolderWatch(FileDescriptor events, FileDescriptor end, std::function<void()> changed);
    void run();

    const FileDescriptor events_; ///< inotify
    const FileDescriptor end_;    ///< an eventfd
    const std::function<void()> changed_;
    std::thread thread_;
};

} // namespace platform
