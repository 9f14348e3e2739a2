#include "Orbelquist/PairMatcher.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

// Two small frames of arbitrary sizes and pixels, of at least one row. The first byte is the width, two tell the
// heights, and the fourth is by how many rows the page moved. The rest is its luma, again and again, each time
// brighter, so that pages need not repeat.

namespace {

using namespace orbelquist;

void require(bool condition) {
    if (!condition)
        std::abort();
}

void checkPromises(const KSVPatternPair& pair, const Frame& a, const Frame& b) {
    const KSVPattern &positive = pair.positive, &negative = pair.negative;
    require(pair.verdict.valid() == (positive.valid() || negative.valid()));
    require((pair.verdict.confidence() > 0) == pair.verdict.valid());
    require(!positive.valid() || positive.offset() >= 0);
    require(!negative.valid() || negative.offset() <= 0);
    if (positive.valid() && negative.valid())
        require(positive.offset() == 0 && negative.offset() == 0);
    for (const KSVPattern& pattern : {positive, negative}) {
        if (!pattern.valid())
            continue;
        const bool isDown = pattern.offset() >= 0;
        const Frame &upper = isDown ? a : b, &lower = isDown ? b : a;
        const KSVPattern down = isDown ? pattern : pattern.normalizedPattern();
        require(down.overlap() >= 1 && down.cropPoint() >= 0);
        require(down.cropPoint() + down.overlap() <= lower.height);
        require(down.offset() + down.cropPoint() + down.overlap() <= upper.height);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 5)
        return 0;
    const std::int64_t width = data[0], moved = data[3];
    const std::int64_t heights[] = {1 + 2 * data[1], 1 + 2 * data[2]};
    const std::span luma(data + 4, size - 4);
    const auto frameOf = [&](std::int64_t height, std::int64_t top) {
        FrameBuilder builder(width, height);
        for (std::int64_t y = 0; y < height; ++y)
            builder.addLuma([&](std::span<std::uint8_t> row) {
                for (std::size_t x = 0; x < row.size(); ++x) {
                    const std::size_t i = static_cast<std::size_t>(y + top) * row.size() + x;
                    row[x] = static_cast<std::uint8_t>(luma[i % luma.size()] + i / luma.size() * 37);
                }
            });
        return builder.finish();
    };
    const Frame a = frameOf(heights[0], 0), b = frameOf(heights[1], moved);
    const KSVPatternPair pair = matchFrames(a, b);
    checkPromises(pair, a, b);
    checkPromises(matchFrames(b, a), b, a);
    const KSVPatternPair again = matchFrames(a, b);
    require(again == pair && again.verdict.kind == pair.verdict.kind && again.verdict.offset == pair.verdict.offset);
    const Frame neighbour = frameOf(1 + 2 * moved, 2 * moved);
    const Frame* const neighbours[] = {&neighbour};
    if (width > 0)
        if (const auto answer = matchAmong(a, b, neighbours))
            checkPromises(*answer, a, b);
    return 0;
}
