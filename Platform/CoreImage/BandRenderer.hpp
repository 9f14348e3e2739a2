#pragma once

#include "Platform/CoreImage/LayerStack.hpp"
#include "Platform/CoreImage/RowStack.hpp"

#include <expected>
#include <map>
#include <memory>
#include <vector>

namespace platform::ci {

/// Draws a stack of layers, rows from top to bottom, each once. A layer's image is opened at the first row that shows
/// it and dropped after the last one; rows that later layers hide are passed over.
class BandRenderer {
public:
    BandRenderer(const std::vector<Layer>& layers, std::int64_t width);

    /// Draws the next `count` rows to `rows`, `stride` bytes apart. Rows that no layer covers are transparent.
    [[nodiscard]] std::expected<void, ImageError> draw(std::uint8_t* rows, std::size_t stride, std::int64_t count);

private:
    std::expected<void, ImageError> drawAlike(std::uint8_t* rows, std::size_t stride, std::int64_t count);
    std::expected<void, ImageError> read(std::ptrdiff_t layer, std::int64_t row, std::uint8_t* rows, std::size_t stride,
                                         std::int64_t count);

    const std::vector<CGImage> images_;
    RowStack stack_;
    const std::size_t width_;

    struct Open {
        std::unique_ptr<RowReader> rows;
        std::int64_t next; ///< the picture's row that `rows` delivers next
    };
    std::map<std::ptrdiff_t, Open> open_;
    RowStretch stretch_; ///< that the next row lies in, if it lies above its end
    std::int64_t row_ = 0;
    std::vector<std::uint8_t> scratch_;
};

} // namespace platform::ci
