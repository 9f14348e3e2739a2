#include "Orbelquist/Kernels/ComparePixels.hpp"

#include <algorithm>
#include <cstring>
#include <vector>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Orbelquist/Kernels/ComparePixels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orbelquist::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// The sum of bytes that are 0 or 1.
std::uint16_t sumOf(const std::uint8_t* flags, std::size_t count) {
    std::uint16_t sum = 0;
    for (; count >= 8; count -= 8, flags += 8) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, flags, 8);
        sum = static_cast<std::uint16_t>(sum + (eight * 0x0101010101010101u >> 56));
    }
    for (; count > 0; --count)
        sum = static_cast<std::uint16_t>(sum + *flags++);
    return sum;
}

void comparePixels(const PixelRow& a, const PixelRow& b, std::uint8_t tolerance,
                   std::array<CellCounts, cellCount>& counts) {
    const hn::ScalableTag<std::uint8_t> d;
    const std::size_t width = a.luma.size(), lanes = hn::Lanes(d);
    static thread_local std::vector<std::uint8_t> flags;
    flags.resize(2 * width);
    std::uint8_t *agreeing = flags.data(), *contradicting = flags.data() + width;

    const auto allowed = hn::Set(d, tolerance), one = hn::Set(d, std::uint8_t{1});
    std::size_t x = 0;
    for (; x + lanes <= width; x += lanes) {
        const auto p = hn::LoadU(d, a.luma.data() + x), q = hn::LoadU(d, b.luma.data() + x);
        const auto difference = hn::Or(hn::SaturatedSub(p, q), hn::SaturatedSub(q, p));
        const auto differs = hn::Min(hn::SaturatedSub(difference, allowed), one);
        const auto onEdges = hn::And(hn::LoadU(d, a.edges + x), hn::LoadU(d, b.edges + x));
        hn::StoreU(differs, d, contradicting + x);
        hn::StoreU(hn::AndNot(differs, onEdges), d, agreeing + x);
    }
    for (; x < width; ++x) {
        const int p = a.luma[x], q = b.luma[x];
        contradicting[x] = (p > q ? p - q : q - p) > tolerance;
        agreeing[x] = a.edges[x] & b.edges[x] & (contradicting[x] ^ 1);
    }
    for (std::size_t cell = 0; cell < cellCount; ++cell) {
        const std::size_t begin = cell * width / cellCount, end = (cell + 1) * width / cellCount;
        counts[cell] = {sumOf(agreeing + begin, end - begin), sumOf(contradicting + begin, end - begin)};
    }
}

} // namespace orbelquist::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "Orbelquist/Kernels/Dispatch-inl.hpp"

namespace orbelquist {

void comparePixels(const PixelRow& a, const PixelRow& b, std::uint8_t tolerance,
                   std::array<CellCounts, cellCount>& counts) {
    ORBELQUIST_DISPATCH(comparePixels)(a, b, tolerance, counts);
}

} // namespace orbelquist
#endif
