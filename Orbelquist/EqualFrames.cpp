#include "Orbelquist/EqualFrames.hpp"

#include <algorithm>
#include <bit>
#include <vector>

namespace orbelquist {

namespace {

/// Of a view's height, the part at each end that bars may take: where all stands still they cannot be told from the
/// page.
constexpr std::int64_t barShare = 6;

/// Cells that differ in two shots of one view (a clock, a caret, a badge): at most one of this many that carry
/// information.
constexpr std::int64_t changedShare = 50;

/// Rows of content that pin a view: at least one of this many of its height.
constexpr std::int64_t pinningShare = 100;

} // namespace

std::optional<KSVPatternPair> equalFrames(const FramePair& pair) {
    const Frame &a = pair.a(), &b = pair.b();
    if (a.height != b.height)
        return std::nullopt;
    std::int64_t informed = 0, differing = 0;
    for (std::size_t y = 0; y < a.signature.size(); ++y) {
        informed += std::popcount(a.informed[y] | b.informed[y]);
        differing += std::popcount(~equalCells(a.signature[y], b.signature[y], pair.tolerance()));
    }
    if (differing * changedShare > informed)
        return std::nullopt;

    // The view against itself, without what may be bars: rows with information, and how many of them another shift
    // explains as well.
    const std::int64_t bar = a.height / barShare;
    const FramePair self(a, a, pair.tolerance());
    std::int64_t rows = 0;
    for (std::int64_t y = bar; y < a.height - bar; ++y)
        rows += a.informed[static_cast<std::size_t>(y)] != 0;
    if (rows * pinningShare < a.height)
        return KSVPatternPair{};
    for (std::int64_t shift = 4; shift < a.height - 2 * bar; ++shift) {
        std::int64_t explained = 0, seen = 0;
        for (std::int64_t y = bar; y + shift < a.height - bar; ++y) {
            const auto here = static_cast<std::size_t>(y), there = static_cast<std::size_t>(y + shift);
            if (a.informed[here] == 0 && a.informed[there] == 0)
                continue;
            ++seen;
            explained += equalCells(a.signature[here], a.signature[there], pair.tolerance()) == ~CellMask{0};
        }
        if (seen * 4 >= rows && explained * 2 > seen)
            return KSVPatternPair{};
    }
    const KSVPattern pinned(0, bar, std::max<std::int64_t>(1, a.height - 2 * bar));
    return KSVPatternPair{pinned, pinned};
}

} // namespace orbelquist
