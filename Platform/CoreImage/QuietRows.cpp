#include "Platform/CoreImage/QuietRows.hpp"

#include "Platform/CoreImage/CIContext.hpp"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <numeric>

namespace platform {

namespace {

/// So far above the latest cut a better one is looked for, and so many rows beside a cut count.
constexpr std::int64_t longestSearch = 1024, margin = 8;

/// How much a row changes from left to right.
std::uint64_t unrest(const std::uint8_t* row, std::int64_t width) {
    std::uint64_t sum = 0;
    for (std::int64_t i = 4; i < 4 * width; ++i)
        sum += static_cast<std::uint64_t>(std::abs(row[i] - row[i - 4]));
    return sum;
}

/// Of the cuts below each row but the last, the one with the least unrest around it; of equals the lowest.
std::int64_t quietestCut(const std::vector<std::uint64_t>& rows) {
    const auto count = static_cast<std::int64_t>(rows.size());
    std::int64_t best = count;
    double least = std::numeric_limits<double>::infinity();
    for (std::int64_t cut = 1; cut <= count; ++cut) {
        const auto from = rows.begin() + std::max<std::int64_t>(cut - margin, 0);
        const auto to = rows.begin() + std::min(cut + margin, count);
        const double mean =
            static_cast<double>(std::accumulate(from, to, std::uint64_t{0})) / static_cast<double>(to - from);
        if (mean <= least) {
            least = mean;
            best = cut;
        }
    }
    return best;
}

} // namespace

CGRect rowsOf(const CGRect& extent, std::int64_t top, std::int64_t height) {
    return {{extent.origin.x, extent.maxY() - static_cast<CGFloat>(top + height)},
            {extent.size.width, static_cast<CGFloat>(height)}};
}

std::expected<std::vector<std::int64_t>, ImageError> heightsOfParts(const CIImage& recipe, const CGRect& extent,
                                                                    std::int64_t mostRows) {
    const auto width = static_cast<std::int64_t>(extent.size.width);
    const auto height = static_cast<std::int64_t>(extent.size.height);
    std::vector<std::int64_t> heights;
    for (std::int64_t top = 0; top < height; top += heights.back()) {
        if (height - top <= mostRows) {
            heights.push_back(height - top);
            break;
        }
        const std::int64_t search = std::clamp<std::int64_t>(mostRows / 4, 1, longestSearch);
        const std::int64_t first = top + mostRows - search;
        std::vector<std::uint64_t> rows;
        const auto drawn = CIContext().render(
            recipe, rowsOf(extent, first, search),
            [&](const std::uint8_t* row, std::size_t stride, std::int64_t count) -> std::expected<void, ImageError> {
                for (; count > 0; --count, row += stride)
                    rows.push_back(unrest(row, width));
                return {};
            });
        if (!drawn)
            return std::unexpected(drawn.error());
        heights.push_back(mostRows - search + quietestCut(rows));
    }
    return heights;
}

} // namespace platform
