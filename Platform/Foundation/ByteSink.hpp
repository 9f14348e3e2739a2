#pragma once

#include <cstddef>
#include <expected>
#include <span>
#include <system_error>

namespace platform {

/// Takes bytes in order. One thread at a time.
class ByteSink {
public:
    virtual ~ByteSink() = default;
    /// All of `bytes`, or an error; after an error the content is undefined.
    [[nodiscard]] virtual std::expected<void, std::error_code> write(std::span<const std::byte> bytes) = 0;
};

} // namespace platform
