#include "Orbelquist/Kernels/ScreenSums.hpp"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Orbelquist/Kernels/ScreenSums.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orbelquist::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

namespace {

ScreenSums screenSums(const std::uint8_t* x, const std::uint8_t* s, const std::uint8_t* p, std::size_t stride,
                      std::size_t columns, std::size_t rows) {
    const hn::ScalableTag<std::int16_t> d;
    const hn::Rebind<std::uint8_t, decltype(d)> bytes;
    const hn::RepartitionToWide<decltype(d)> wide;
    const std::size_t lanes = hn::Lanes(d), rest = columns % lanes;
    const auto one = hn::Set(d, 1);
    const auto isRest = hn::Gt(hn::Iota(d, 1), hn::Set(d, static_cast<std::int16_t>(lanes - rest)));
    struct Sum {
        decltype(hn::Zero(wide)) even, odd; // where the instruction set parts them
    };
    const Sum none{hn::Zero(wide), hn::Zero(wide)};
    Sum sumX = none, sumS = none, sumP = none, sumXX = none, sumSS = none, sumPP = none, sumXS = none, sumXP = none,
        sumSP = none, sumNearest = none;
    const auto add = [&](Sum& sum, auto u, auto v) {
        sum.even = hn::ReorderWidenMulAccumulate(wide, u, v, sum.even, sum.odd);
    };
    const auto addAll = [&](auto u, auto v, auto w) {
        add(sumX, u, one), add(sumS, v, one), add(sumP, w, one);
        add(sumXX, u, u), add(sumSS, v, v), add(sumPP, w, w);
        add(sumXS, u, v), add(sumXP, u, w), add(sumSP, v, w);
        const auto nearer = hn::Min(hn::Abs(hn::Sub(u, v)), hn::Abs(hn::Sub(u, w)));
        add(sumNearest, nearer, nearer);
    };
    const auto load = [&](const std::uint8_t* from) { return hn::PromoteTo(d, hn::LoadU(bytes, from)); };
    ScreenSums sums;
    for (std::size_t row = 0; row < rows; ++row, x += stride, s += stride, p += stride) {
        std::size_t i = 0;
        for (; i + lanes <= columns; i += lanes)
            addAll(load(x + i), load(s + i), load(p + i));
        if (rest > 0 && i > 0) { // loaded with some before them, which do not count
            i = columns - lanes;
            addAll(hn::IfThenElseZero(isRest, load(x + i)), hn::IfThenElseZero(isRest, load(s + i)),
                   hn::IfThenElseZero(isRest, load(p + i)));
            i = columns;
        }
        for (; i < columns; ++i) {
            const std::uint64_t u = x[i], v = s[i], w = p[i];
            const std::uint64_t nearer = std::min(u > v ? u - v : v - u, u > w ? u - w : w - u);
            sums.x += u, sums.s += v, sums.p += w;
            sums.xx += u * u, sums.ss += v * v, sums.pp += w * w, sums.xs += u * v, sums.xp += u * w, sums.sp += v * w;
            sums.nearest += nearer * nearer;
        }
    }
    const auto total = [&](const Sum& sum) {
        const auto all = hn::SumOfLanes(wide, hn::Add(sum.even, sum.odd));
        return static_cast<std::uint64_t>(static_cast<std::uint32_t>(hn::GetLane(all)));
    };
    sums.x += total(sumX), sums.s += total(sumS), sums.p += total(sumP);
    sums.xx += total(sumXX), sums.ss += total(sumSS), sums.pp += total(sumPP);
    sums.xs += total(sumXS), sums.xp += total(sumXP), sums.sp += total(sumSP), sums.nearest += total(sumNearest);
    return sums;
}

} // namespace

} // namespace orbelquist::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "Orbelquist/Kernels/Dispatch-inl.hpp"

namespace orbelquist {

ScreenSums screenSums(const std::uint8_t* x, const std::uint8_t* s, const std::uint8_t* p, std::size_t stride,
                      std::size_t columns, std::size_t rows) {
    return ORBELQUIST_DISPATCH(screenSums)(x, s, p, stride, columns, rows);
}

} // namespace orbelquist
#endif
