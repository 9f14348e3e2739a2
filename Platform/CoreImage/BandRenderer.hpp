#pragma once

#include "Platform/CoreImage/LayerStack.hpp"

#include <expected>
#include <map>
#include <memory>
#include <vector>

namespace platform::ci {

/// Draws a stack of layers, rows from top to bottom, each once. A layer's image is opened at the first row that shows
/// it and dropped after the last one; rows that later layers hide are passed over.
class BandRenderer {
public:
    BandRenderer(std::vector<Layer> layers, std::int64_t width);

    /// Draws the next `count` rows to `rows`, `stride` bytes apart. Rows that no layer covers are transparent.
    [[nodiscard]] std::expected<void, ImageError> draw(std::uint8_t* rows, std::size_t stride, std::int64_t count);

private:
    /// The layers that make up a row: `base` is shown whole, then each of `fading` over what is there.
    struct Composition {
        std::ptrdiff_t base = -1; ///< -1: nothing is there
        std::vector<std::ptrdiff_t> fading;
    };

    Composition composition(std::int64_t row) const;
    std::int64_t nextChange(std::int64_t row) const;
    std::expected<void, ImageError> read(std::ptrdiff_t layer, std::int64_t row, std::uint8_t* rows, std::size_t stride,
                                         std::int64_t count);
    void advanceTo(std::int64_t row);

    const std::vector<Layer> layers_;
    const std::size_t width_;
    std::vector<std::int64_t> end_; ///< the row after the last one that shows the layer

    std::vector<std::ptrdiff_t> byTop_;  ///< layers not yet reached, the next one last
    std::vector<std::ptrdiff_t> active_; ///< layers that the current row meets and that may still show, ascending
    struct Open {
        std::unique_ptr<RowReader> rows;
        std::int64_t next; ///< the picture's row that `rows` delivers next
    };
    std::map<std::ptrdiff_t, Open> open_;
    std::int64_t row_ = 0;
    std::vector<std::uint8_t> scratch_;
};

} // namespace platform::ci
