#include "Orbelquist/Kernels/CellMeans.hpp"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Orbelquist/Kernels/CellMeans.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orbelquist::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

namespace {

void lumaOf(const std::uint8_t* rgba, std::span<std::uint8_t> luma) {
    std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<std::uint32_t> d; // a pixel each
    const hn::Repartition<std::uint8_t, decltype(d)> channels;
    const hn::Rebind<std::uint8_t, decltype(d)> bytes;
    const auto low = hn::Set(d, 255u), twice = hn::Set(d, 510u);
    for (; x + hn::Lanes(d) <= luma.size(); x += hn::Lanes(d)) {
        const auto pixel = hn::BitCast(d, hn::LoadU(channels, rgba + 4 * x));
        const auto red = hn::And(pixel, low), blue = hn::And(hn::ShiftRight<16>(pixel), low);
        const auto sum = hn::Add(hn::Add(red, blue), hn::And(hn::ShiftRight<7>(pixel), twice));
        hn::StoreU(hn::TruncateTo(bytes, hn::ShiftRight<2>(sum)), bytes, luma.data() + x);
    }
#endif
    for (; x < luma.size(); ++x)
        luma[x] = static_cast<std::uint8_t>((rgba[4 * x] + 2 * rgba[4 * x + 1] + rgba[4 * x + 2]) >> 2);
}

void cellMeans(std::span<const std::uint8_t> luma, RowSignature& means) {
    const hn::CappedTag<std::uint8_t, 16> d; // a cell is one or two of these wide
    const hn::Repartition<std::uint64_t, decltype(d)> wide;
    const auto index = hn::Iota(d, 1);
    const std::size_t width = luma.size(), lanes = hn::Lanes(d);
    means = {};
    for (std::size_t cell = 0; cell < cellCount && width > 0; ++cell) {
        std::size_t x = std::min(cell * width / cellCount, width - 1);
        const std::size_t end = std::max(x + 1, (cell + 1) * width / cellCount);
        const auto count = static_cast<std::uint32_t>(end - x);
        auto sums = hn::Zero(wide);
        for (; x + lanes <= end; x += lanes)
            sums = hn::Add(sums, hn::SumsOf8(hn::LoadU(d, luma.data() + x)));
        if (x < end && end >= lanes) { // the last ones are loaded with some before them, which do not count
            const auto counts = hn::Gt(index, hn::Set(d, static_cast<std::uint8_t>(lanes - (end - x))));
            sums = hn::Add(sums, hn::SumsOf8(hn::IfThenElseZero(counts, hn::LoadU(d, luma.data() + end - lanes))));
            x = end;
        }
        auto sum = static_cast<std::uint32_t>(hn::GetLane(hn::SumOfLanes(wide, sums)));
        for (; x < end; ++x)
            sum += luma[x];
        means[cell] = static_cast<std::uint8_t>((sum + count / 2) / count);
    }
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

RowSignature cellMeans(std::span<const std::uint8_t> luma) {
    RowSignature means;
    ORBELQUIST_DISPATCH(cellMeans)(luma, means);
    return means;
}

} // namespace orbelquist
#endif
