#include "Orbelquist/Kernels/Edges.hpp"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Orbelquist/Kernels/Edges.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orbelquist::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

namespace {

void markEdges(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
               std::span<std::uint8_t> edges) {
    const hn::ScalableTag<std::uint8_t> d;
    const std::size_t width = edges.size(), lanes = hn::Lanes(d);
    const auto limit = hn::Set(d, edgeLevels), one = hn::Set(d, std::uint8_t{1});
    const auto beyond = [&](auto x, auto y) {
        return hn::SaturatedSub(hn::Or(hn::SaturatedSub(x, y), hn::SaturatedSub(y, x)), limit); // above 0: an edge
    };
    const auto upright = [&](std::size_t x) {
        const int step = above[x] > below[x] ? above[x] - below[x] : below[x] - above[x];
        return step > edgeLevels;
    };
    const auto across = [&](std::size_t x) {
        if (x == 0 || x + 1 >= width)
            return false;
        const int step = row[x - 1] > row[x + 1] ? row[x - 1] - row[x + 1] : row[x + 1] - row[x - 1];
        return step > edgeLevels;
    };

    if (width > 0)
        edges[0] = upright(0);
    std::size_t x = 1;
    for (; x + lanes + 1 <= width; x += lanes) {
        const auto horizontal = beyond(hn::LoadU(d, row + x - 1), hn::LoadU(d, row + x + 1));
        const auto vertical = beyond(hn::LoadU(d, above + x), hn::LoadU(d, below + x));
        hn::StoreU(hn::Min(hn::Or(horizontal, vertical), one), d, edges.data() + x);
    }
    for (; x < width; ++x)
        edges[x] = upright(x) || across(x);
}

} // namespace

} // namespace orbelquist::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "Orbelquist/Kernels/Dispatch-inl.hpp"

namespace orbelquist {

void markEdges(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
               std::span<std::uint8_t> edges) {
    ORBELQUIST_DISPATCH(markEdges)(above, row, below, edges);
}

} // namespace orbelquist
#endif
