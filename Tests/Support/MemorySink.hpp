#pragma once

#include "Platform/Foundation/ByteSink.hpp"

#include <algorithm>
#include <string>

namespace platform {

/// Keeps what is written; beyond `capacity` bytes the disk is full.
struct MemorySink final : ByteSink {
    std::string bytes;
    std::size_t capacity = 1u << 30;
    std::size_t largest = 0; ///< of the pieces that came

    std::expected<void, std::error_code> write(std::span<const std::byte> more) override {
        if (bytes.size() + more.size() > capacity)
            return std::unexpected(std::make_error_code(std::errc::no_space_on_device));
        largest = std::max(largest, more.size());
        bytes.append(reinterpret_cast<const char*>(more.data()), more.size());
        return {};
    }
};

} // namespace platform
