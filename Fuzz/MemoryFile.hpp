#pragma once

#include "Platform/Foundation/FileDescriptor.hpp"

#include <sys/mman.h>

#include <cstdlib>
#include <filesystem>
#include <span>
#include <string>

namespace platform {

/// A file in memory that can be opened by its path while this lives.
class MemoryFile {
public:
    explicit MemoryFile(std::span<const std::byte> content) : file_(memfd_create("fuzz", MFD_CLOEXEC)) {
        if (!file_ || write(file_.number(), content.data(), content.size()) != std::ssize(content))
            std::abort();
    }
    std::filesystem::path path() const { return "/proc/self/fd/" + std::to_string(file_.number()); }

private:
    FileDescriptor file_;
};

} // namespace platform
