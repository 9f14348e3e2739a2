#include "Orbelquist/Kernels/Luma.hpp"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Orbelquist/Kernels/Luma.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orbelquist::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

namespace {

void lumaOf(const std::uint8_t* rgba, std::span<std::uint8_t> luma) {
    std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<std::int32_t> d; // a pixel each
    const hn::Repartition<std::uint8_t, decltype(d)> bytes;
    const hn::Repartition<std::uint16_t, decltype(d)> pairs;
    const hn::Repartition<std::int16_t, decltype(d)> halves;
    const std::size_t lanes = hn::Lanes(d);
    const auto one = hn::Set(halves, 1), low = hn::Set(halves, 255);
    const auto twiceGreen = hn::BitCast(halves, hn::Set(d, 2)); // and no alpha
    const auto fourfold = [&](std::size_t at) {
        const auto pixels = hn::BitCast(halves, hn::LoadU(bytes, rgba + 4 * at));
        const auto redBlue = hn::And(pixels, low);
        const auto greenAlpha = hn::BitCast(halves, hn::ShiftRight<8>(hn::BitCast(pairs, pixels)));
        auto odd = hn::Zero(d); // where the instruction set parts them
        const auto sum = hn::ReorderWidenMulAccumulate(d, redBlue, one, hn::Zero(d), odd);
        return hn::Add(hn::ReorderWidenMulAccumulate(d, greenAlpha, twiceGreen, sum, odd), odd);
    };
    const auto twoAt = [&](std::size_t at) { // each pixel beside the one as many lanes further on
        const auto two = hn::Or(fourfold(at), hn::ShiftLeft<16>(fourfold(at + lanes)));
        return hn::ShiftRight<2>(hn::BitCast(pairs, two));
    };
    // Four pixels are in each lane then, as far apart as there are lanes. Sorted within each block of four lanes, and
    // then the blocks.
    alignas(16) static constexpr std::uint8_t sorted[16] = {0, 4, 8, 12, 2, 6, 10, 14, 1, 5, 9, 13, 3, 7, 11, 15};
    const auto inBlock = hn::LoadDup128(bytes, sorted);
    HWY_ALIGN std::int32_t order[hn::MaxLanes(d)];
    for (std::size_t lane = 0, blocks = lanes / 4; lane < lanes; ++lane)
        order[lane] = static_cast<std::int32_t>(lane % blocks * 4 + lane / blocks);
    const auto blocks = hn::SetTableIndices(d, order);
    for (; x + 4 * lanes <= luma.size(); x += 4 * lanes) {
        const auto four = hn::Or(twoAt(x), hn::ShiftLeft<8>(twoAt(x + 2 * lanes)));
        const auto apart = hn::TableLookupBytes(hn::BitCast(bytes, four), inBlock);
        hn::StoreU(hn::BitCast(bytes, hn::TableLookupLanes(hn::BitCast(d, apart), blocks)), bytes, luma.data() + x);
    }
#endif
    for (; x < luma.size(); ++x)
        luma[x] = static_cast<std::uint8_t>((rgba[4 * x] + 2 * rgba[4 * x + 1] + rgba[4 * x + 2]) >> 2);
}

void soften(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
            std::span<std::uint8_t> result) {
    const std::size_t width = result.size();
    const auto one = [&](std::size_t x) {
        const auto down = [&](std::size_t at) { return above[at] + 2 * row[at] + below[at]; };
        const int sum = down(x > 0 ? x - 1 : x) + 2 * down(x) + down(std::min(x + 1, width - 1));
        result[x] = static_cast<std::uint8_t>((sum + 8) / 16);
    };
    std::size_t x = 0;
    if (width > 0)
        one(x++);
    const hn::ScalableTag<std::int16_t> d;
    const hn::Rebind<std::uint8_t, decltype(d)> bytes;
    const auto down = [&](std::size_t at) {
        const auto outer =
            hn::Add(hn::PromoteTo(d, hn::LoadU(bytes, above + at)), hn::PromoteTo(d, hn::LoadU(bytes, below + at)));
        return hn::Add(outer, hn::ShiftLeft<1>(hn::PromoteTo(d, hn::LoadU(bytes, row + at))));
    };
    for (; x + hn::Lanes(d) < width; x += hn::Lanes(d)) {
        const auto sum = hn::Add(hn::Add(down(x - 1), down(x + 1)), hn::ShiftLeft<1>(down(x)));
        hn::StoreU(hn::DemoteTo(bytes, hn::ShiftRight<4>(hn::Add(sum, hn::Set(d, 8)))), bytes, result.data() + x);
    }
    for (; x < width; ++x)
        one(x);
}

} // namespace

} // namespace orbelquist::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "Orbelquist/Kernels/Dispatch-inl.hpp"

namespace orbelquist {

void lumaOf(const std::uint8_t* rgba, std::span<std::uint8_t> luma) {
    ORBELQUIST_DISPATCH(lumaOf)(rgba, luma);
}

void soften(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
            std::span<std::uint8_t> result) {
    ORBELQUIST_DISPATCH(soften)(above, row, below, result);
}

} // namespace orbelquist
#endif
