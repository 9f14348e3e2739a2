#include "Orbelquist/Kernels/SquaredDifference.hpp"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Orbelquist/Kernels/SquaredDifference.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orbelquist::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

namespace {

std::uint64_t squaredDifference(const std::uint8_t* a, const std::uint8_t* b, std::size_t stride, std::size_t columns,
                                std::size_t rows) {
    const hn::ScalableTag<std::int16_t> d;
    const hn::Rebind<std::uint8_t, decltype(d)> bytes;
    const hn::RepartitionToWide<decltype(d)> wide;
    const std::size_t lanes = hn::Lanes(d), rest = columns % lanes;
    const auto isRest = hn::Gt(hn::Iota(d, 1), hn::Set(d, static_cast<std::int16_t>(lanes - rest)));
    auto even = hn::Zero(wide), odd = even; // where the instruction set parts them
    const auto differenceAt = [&](std::size_t x) {
        return hn::Sub(hn::PromoteTo(d, hn::LoadU(bytes, a + x)), hn::PromoteTo(d, hn::LoadU(bytes, b + x)));
    };
    const auto add = [&](auto difference) {
        even = hn::ReorderWidenMulAccumulate(wide, difference, difference, even, odd);
    };
    std::uint64_t sum = 0;
    for (std::size_t row = 0; row < rows; ++row, a += stride, b += stride) {
        std::size_t x = 0;
        for (; x + lanes <= columns; x += lanes)
            add(differenceAt(x));
        if (rest > 0 && x > 0) { // loaded with some before them, which do not count
            add(hn::IfThenElseZero(isRest, differenceAt(columns - lanes)));
            x = columns;
        }
        for (; x < columns; ++x) {
            const int difference = a[x] - b[x];
            sum += static_cast<std::uint64_t>(difference * difference);
        }
    }
    const auto all = hn::SumOfLanes(wide, hn::Add(even, odd));
    return sum + static_cast<std::uint32_t>(hn::GetLane(all));
}

} // namespace

} // namespace orbelquist::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "Orbelquist/Kernels/Dispatch-inl.hpp"

namespace orbelquist {

std::uint64_t squaredDifference(const std::uint8_t* a, const std::uint8_t* b, std::size_t stride, std::size_t columns,
                                std::size_t rows) {
    return ORBELQUIST_DISPATCH(squaredDifference)(a, b, stride, columns, rows);
}

} // namespace orbelquist
#endif
