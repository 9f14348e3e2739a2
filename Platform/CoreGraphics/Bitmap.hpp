#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace platform {

/// A block of pixel memory that one owner fills: RGBA8, premultiplied, rows from top to bottom without gaps.
/// Movable, not copyable; fresh memory is not cleared.
class Bitmap {
public:
    static constexpr std::size_t bytesPerPixel = 4;

    Bitmap() = default;
    Bitmap(std::int64_t width, std::int64_t height)
        : width_(width), height_(height),
          bytes_(allocate(bytesPerPixel * static_cast<std::size_t>(width) * static_cast<std::size_t>(height))) {}

    std::int64_t width() const { return width_; }
    std::int64_t height() const { return height_; }

    /// Bytes from one row to the next.
    std::size_t stride() const { return bytesPerPixel * static_cast<std::size_t>(width_); }

    std::uint8_t* row(std::int64_t y) { return bytes_.get() + stride() * static_cast<std::size_t>(y); }
    const std::uint8_t* row(std::int64_t y) const { return bytes_.get() + stride() * static_cast<std::size_t>(y); }

    std::span<std::uint8_t> bytes() { return {bytes_.get(), stride() * static_cast<std::size_t>(height_)}; }
    std::span<const std::uint8_t> bytes() const { return {bytes_.get(), stride() * static_cast<std::size_t>(height_)}; }

private:
    struct Free {
        void operator()(std::uint8_t* memory) const;
    };
    using Memory = std::unique_ptr<std::uint8_t[], Free>;
    static Memory allocate(std::size_t bytes);

    std::int64_t width_ = 0;
    std::int64_t height_ = 0;
    Memory bytes_;
};

} // namespace platform
