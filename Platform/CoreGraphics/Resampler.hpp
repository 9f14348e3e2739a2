#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <utility>
#include <vector>

namespace platform {

/// Scales an image of premultiplied RGBA8 while its rows go by, and holds no more of them than one output row needs.
/// Along each axis by itself: an output pixel is the mean of the source pixels around its centre, weighed by the cubic
/// of Catmull and Rom, which is stretched where the image becomes smaller, so that what is too fine for it blurs
/// instead of turning into patterns. Larger, it interpolates; equal, it copies. The same rows on every machine.
class Resampler {
public:
    /// Takes output row `y`, four bytes a pixel; valid during the call.
    using RowHandler = std::function<void(std::int64_t y, const std::uint8_t* row)>;

    /// Sizes in pixels, all at least 1.
    Resampler(std::int64_t width, std::int64_t height, std::int64_t newWidth, std::int64_t newHeight,
              RowHandler handler)
        : Resampler(width, height, newWidth, newHeight, newHeight, std::move(handler)) {}
    /// Of the `newHeight` rows makes only the upper `rows`, at least 1.
    Resampler(std::int64_t width, std::int64_t height, std::int64_t newWidth, std::int64_t newHeight, std::int64_t rows,
              RowHandler handler);

    /// Of the source, from the top, all that is looked at.
    std::int64_t sourceRows() const { return sourceRows_; }

    /// The next `count` rows of the source, `stride` bytes apart, from top to bottom. Hands each output row on as soon
    /// as all that it is made of is there.
    void push(const std::uint8_t* rows, std::size_t stride, std::int64_t count);

private:
    /// What one output pixel is made of: consecutive source pixels, weighted, along one axis.
    struct Axis {
        struct Span {
            std::size_t first;         ///< source pixel
            std::size_t weight, count; ///< in `weights`
        };
        std::vector<Span> spans; ///< one an output pixel
        std::vector<float> weights;

        Axis(std::int64_t length, std::int64_t newLength, std::int64_t wanted);
        std::span<const float> weightsOf(const Span& span) const {
            return std::span(weights).subspan(span.weight, span.count);
        }
    };

    void scaleAcross(const std::uint8_t* row, float* scaled);
    void scaleDown(const Axis::Span& span);
    float* scaledRow(std::size_t sourceRow) { return scaled_.data() + sourceRow % slots_ * rowSize_; }
    void handOn();

    const Axis across_, down_;
    const std::int64_t sourceRows_;
    const RowHandler handler_;
    const std::size_t slots_;

    std::vector<float> numbers_; ///< a source row
    const std::size_t rowSize_;  ///< of an output row, in numbers
    std::vector<float> scaled_;  ///< a ring of rows, scaled across
    std::size_t next_ = 0;       ///< source row, the first that is not among them
    std::size_t nextOut_ = 0;    ///< output row
    std::vector<float> sums_;
    std::vector<std::uint8_t> out_;
};

} // namespace platform
