#include "Orbelquist/Kernels/BlockTotals.hpp"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Orbelquist/Kernels/BlockTotals.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orbelquist::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

namespace {

void addRow(std::span<const std::uint8_t> row, const BlockTotals& above, BlockTotals& below) {
    const hn::ScalableTag<std::int16_t> d;
    const hn::Rebind<std::uint8_t, decltype(d)> bytes;
    const hn::RepartitionToWide<decltype(d)> wide;
    const auto one = hn::Set(d, 1), index = hn::Iota(d, 1);
    const std::size_t lanes = hn::Lanes(d);
    for (std::size_t k = 0; k < blocksAcross; ++k) {
        std::size_t x = std::max<std::size_t>(1, k * row.size() / blocksAcross);
        const std::size_t end = (k + 1) * row.size() / blocksAcross;
        auto sum = hn::Zero(wide), squares = sum, across = sum, odd = sum, oddSquares = sum, oddAcross = sum;
        const auto add = [&](auto p, auto step) {
            sum = hn::ReorderWidenMulAccumulate(wide, p, one, sum, odd);
            squares = hn::ReorderWidenMulAccumulate(wide, p, p, squares, oddSquares);
            across = hn::ReorderWidenMulAccumulate(wide, step, step, across, oddAcross);
        };
        const auto load = [&](std::size_t at) { return hn::PromoteTo(d, hn::LoadU(bytes, row.data() + at)); };
        for (; x + lanes <= end; x += lanes)
            add(load(x), hn::Sub(load(x), load(x - 1)));
        std::uint32_t rest[3] = {};
        if (x < end && end > lanes) { // the last ones are loaded with some before them, which do not count
            const auto counts = hn::Gt(index, hn::Set(d, static_cast<std::int16_t>(lanes - (end - x))));
            const auto p = load(end - lanes), step = hn::Sub(p, load(end - lanes - 1));
            add(hn::IfThenElseZero(counts, p), hn::IfThenElseZero(counts, step));
            x = end;
        }
        for (; x < end; ++x) {
            const int p = row[x], step = p - row[x - 1];
            rest[0] += static_cast<std::uint32_t>(p);
            rest[1] += static_cast<std::uint32_t>(p * p);
            rest[2] += static_cast<std::uint32_t>(step * step);
        }
        const auto total = [&](auto even, auto other) {
            return static_cast<std::uint32_t>(hn::GetLane(hn::SumOfLanes(wide, hn::Add(even, other))));
        };
        below.sum[k] = above.sum[k] + rest[0] + total(sum, odd);
        below.squares[k] = above.squares[k] + rest[1] + total(squares, oddSquares);
        below.across[k] = above.across[k] + rest[2] + total(across, oddAcross);
    }
}

} // namespace

} // namespace orbelquist::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "Orbelquist/Kernels/Dispatch-inl.hpp"

namespace orbelquist {

void addRow(std::span<const std::uint8_t> row, const BlockTotals& above, BlockTotals& below) {
    ORBELQUIST_DISPATCH(addRow)(row, above, below);
}

} // namespace orbelquist
#endif
