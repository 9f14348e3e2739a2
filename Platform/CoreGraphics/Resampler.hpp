#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace platform {

/// Scales an image of premultiplied RGBA8 while its rows go by, and holds no more of them than one output row needs.
/// Along each axis by itself: smaller by the mean over the area that an output pixel covers, larger by linear
/// interpolation between pixel centres, equal by a copy. Integer arithmetic: the same rows on every machine.
class Resampler {
public:
    /// Takes output row `y`, four bytes a pixel; valid during the call.
    using RowHandler = std::function<void(std::int64_t y, const std::uint8_t* row)>;

    /// Sizes in pixels, all at least 1.
    Resampler(std::int64_t width, std::int64_t height, std::int64_t newWidth, std::int64_t newHeight,
              RowHandler handler);

    /// The next `count` rows of the source, `stride` bytes apart, from top to bottom. Hands on each output row as soon
    /// as all that it is made of is there.
    void push(const std::uint8_t* rows, std::size_t stride, std::int64_t count);

private:
    /// What one output pixel is made of: consecutive source pixels, weighted, along one axis.
    struct Axis {
        struct Span {
            std::int64_t first;        ///< source pixel
            std::size_t weight, count; ///< in `weights`
        };
        std::vector<Span> spans; ///< one an output pixel
        std::vector<std::uint32_t> weights;

        Axis(std::int64_t length, std::int64_t newLength);
    };

    void scaleAcross(const std::uint8_t* row, std::uint16_t* scaled) const;
    void finishRow(const Axis::Span& span);

    const std::int64_t width_, newWidth_;
    const Axis across_, down_;
    const RowHandler handler_;
    std::int64_t next_ = 0;    ///< source row
    std::int64_t nextOut_ = 0; ///< output row
    std::size_t slots_;
    std::vector<std::uint16_t> scaled_; ///< a ring of rows, scaled across, in 256ths of a level
    std::vector<std::uint32_t> sums_;
    std::vector<std::uint8_t> out_;
};

} // namespace platform
