#include "Orbelquist/Kernels/BlockSums.hpp"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Orbelquist/Kernels/BlockSums.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orbelquist::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

namespace {

void addPixels(const std::uint8_t* a, const std::uint8_t* b, std::size_t stride, std::size_t columns, std::size_t rows,
               PixelSums& sums) {
    const hn::ScalableTag<std::int16_t> d;
    const hn::Rebind<std::uint8_t, decltype(d)> bytes;
    const hn::RepartitionToWide<decltype(d)> wide;
    const auto one = hn::Set(d, 1);
    const std::size_t lanes = hn::Lanes(d);
    struct Sum {
        decltype(hn::Zero(wide)) even, odd; // where the instruction set parts them
    };
    const Sum none{hn::Zero(wide), hn::Zero(wide)};
    Sum sumA = none, sumB = none, sumAA = none, sumBB = none, sumDifference = none;
    const auto add = [&](Sum& sum, auto x, auto y) {
        sum.even = hn::ReorderWidenMulAccumulate(wide, x, y, sum.even, sum.odd);
    };
    const auto addOne = [&](std::size_t x) {
        const int p = a[x], q = b[x];
        sums.a += a[x], sums.b += b[x];
        sums.aa += static_cast<std::uint64_t>(p * p), sums.bb += static_cast<std::uint64_t>(q * q);
        sums.difference += static_cast<std::uint64_t>((p - q) * (p - q));
    };
    for (std::size_t row = 0; row < rows; ++row, a += stride, b += stride) {
        std::size_t x = 0;
        for (; x + lanes <= columns; x += lanes) {
            const auto p = hn::PromoteTo(d, hn::LoadU(bytes, a + x)), q = hn::PromoteTo(d, hn::LoadU(bytes, b + x));
            const auto difference = hn::Sub(p, q);
            add(sumA, p, one);
            add(sumB, q, one);
            add(sumAA, p, p);
            add(sumBB, q, q);
            add(sumDifference, difference, difference);
        }
        for (; x < columns; ++x)
            addOne(x);
    }
    const auto total = [&](const Sum& sum) {
        const auto all = hn::SumOfLanes(wide, hn::Add(sum.even, sum.odd));
        return static_cast<std::uint64_t>(static_cast<std::uint32_t>(hn::GetLane(all)));
    };
    sums.a += total(sumA), sums.b += total(sumB), sums.aa += total(sumAA), sums.bb += total(sumBB);
    sums.difference += total(sumDifference), sums.count += rows * columns;
}

} // namespace

} // namespace orbelquist::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "Orbelquist/Kernels/Dispatch-inl.hpp"

namespace orbelquist {

void addPixels(const std::uint8_t* a, const std::uint8_t* b, std::size_t stride, std::size_t columns, std::size_t rows,
               PixelSums& sums) {
    ORBELQUIST_DISPATCH(addPixels)(a, b, stride, columns, rows, sums);
}

} // namespace orbelquist
#endif
