#include "Orbelquist/Kernels/BlockCounts.hpp"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Orbelquist/Kernels/BlockCounts.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orbelquist::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

namespace {

using Pixels = hn::CappedTag<std::uint8_t, 16>; // a block is some two or three of these wide

/// Counts the pixels of which `excess` is 0: of one at an offset, or of as many as `Pixels` holds.
template <class Excess, class ExcessOfOne>
HWY_INLINE std::size_t countZeros(std::size_t stride, std::size_t columns, std::size_t rows, Excess excess,
                                  ExcessOfOne excessOfOne) {
    const Pixels d;
    const hn::Repartition<std::uint64_t, Pixels> wide;
    const std::size_t lanes = hn::Lanes(d), rest = columns % lanes;
    const auto zero = hn::Zero(d), one = hn::Set(d, std::uint8_t{1});
    const auto ofRest = hn::IfThenElseZero(hn::Gt(hn::Iota(d, 1), hn::Set(d, static_cast<std::uint8_t>(lanes - rest))),
                                           one); // loaded with some before them, which do not count
    auto counts = hn::Zero(wide);
    std::size_t count = 0;
    for (std::size_t row = 0; row < rows * stride; row += stride) {
        std::size_t x = 0;
        for (; x + lanes <= columns; x += lanes)
            counts = hn::Add(counts, hn::SumsOf8(hn::IfThenElseZero(hn::Eq(excess(row + x), zero), one)));
        if (rest > 0 && x > 0) {
            const auto isZero = hn::Eq(excess(row + columns - lanes), zero);
            counts = hn::Add(counts, hn::SumsOf8(hn::IfThenElseZero(isZero, ofRest)));
            x = columns;
        }
        for (; x < columns; ++x)
            count += excessOfOne(row + x) <= 0;
    }
    return count + static_cast<std::size_t>(hn::GetLane(hn::SumOfLanes(wide, counts)));
}

std::size_t countAtMost(const std::uint8_t* pixels, std::size_t stride, std::size_t columns, std::size_t rows,
                        std::uint8_t level) {
    const Pixels d;
    const auto most = hn::Set(d, level);
    return countZeros(
        stride, columns, rows, [&](std::size_t at) { return hn::SaturatedSub(hn::LoadU(d, pixels + at), most); },
        [&](std::size_t at) { return pixels[at] - level; });
}

std::size_t countBeyond(const std::uint8_t* a, const std::uint8_t* b, std::size_t stride, std::size_t columns,
                        std::size_t rows, std::uint8_t tolerance) {
    const Pixels d;
    const auto allowed = hn::Set(d, tolerance);
    const std::size_t within = countZeros(
        stride, columns, rows,
        [&](std::size_t at) {
            const auto p = hn::LoadU(d, a + at), q = hn::LoadU(d, b + at);
            return hn::SaturatedSub(hn::Or(hn::SaturatedSub(p, q), hn::SaturatedSub(q, p)), allowed);
        },
        [&](std::size_t at) { return (a[at] > b[at] ? a[at] - b[at] : b[at] - a[at]) - tolerance; });
    return rows * columns - within;
}

} // namespace

} // namespace orbelquist::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "Orbelquist/Kernels/Dispatch-inl.hpp"

namespace orbelquist {

std::size_t countAtMost(const std::uint8_t* pixels, std::size_t stride, std::size_t columns, std::size_t rows,
                        std::uint8_t level) {
    return ORBELQUIST_DISPATCH(countAtMost)(pixels, stride, columns, rows, level);
}

std::size_t countBeyond(const std::uint8_t* a, const std::uint8_t* b, std::size_t stride, std::size_t columns,
                        std::size_t rows, std::uint8_t tolerance) {
    return ORBELQUIST_DISPATCH(countBeyond)(a, b, stride, columns, rows, tolerance);
}

} // namespace orbelquist
#endif
