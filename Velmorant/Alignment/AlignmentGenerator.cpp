#include "Velmorant/Alignment/AlignmentGenerator.hpp"

#include "Velmorant/Alignment/AlignmentError.hpp"

#include <algorithm>

namespace velmorant {

using orbelquist::KSVPattern;

std::optional<PatternRun> AlignmentGenerator::bestRun(const std::vector<KSVPattern>& patterns,
                                                      const Group& group) const {
    if (std::ranges::all_of(patterns, &KSVPattern::valid))
        return PatternRun{patterns, group.items()};

    std::ptrdiff_t bestStart = 0, bestLength = 0, start = 0;
    const auto count = std::ssize(patterns);
    for (std::ptrdiff_t i = 0; i <= count; ++i) {
        if (i < count && patterns[static_cast<std::size_t>(i)].valid())
            continue;
        if (i - start > bestLength) {
            bestStart = start;
            bestLength = i - start;
        }
        start = i + 1;
    }
    if (bestLength == 0)
        return std::nullopt;

    const auto firstPattern = patterns.begin() + bestStart;
    const auto firstItem = group.items().begin() + bestStart;
    return PatternRun{{firstPattern, firstPattern + bestLength}, {firstItem, firstItem + bestLength + 1}};
}

std::expected<Alignment, std::error_code>
AlignmentGenerator::generateAlignment(std::vector<StitchableItem> items, std::vector<KSVPattern> patterns) const {
    if (patterns.empty() || items.empty())
        return std::unexpected(make_error_code(AlignmentError::noAlignment));

    if (patterns.front().offset() < 1) { // captured from the bottom to the top
        std::ranges::reverse(items);
        std::ranges::reverse(patterns);
        for (KSVPattern& pattern : patterns)
            pattern = pattern.normalizedPattern();
    }

    std::vector<Alignment::Entry> positions{{items.front(), {0, {0, 1}, {0, 1}}}};
    std::int64_t offset = 0;
    for (std::size_t k = 0; k + 1 < items.size() && k < patterns.size(); ++k) {
        const KSVPattern& pattern = patterns[k];
        const RowRange band{pattern.cropPoint(), pattern.cropPoint() + pattern.overlap()};
        positions.push_back({items[k + 1], {offset + pattern.offset(), band, band.shifted(offset)}});
        offset += pattern.offset();
    }

    PixelSize canvas = items.back().size();
    canvas.height += offset;
    return Alignment(std::move(positions), canvas);
}

} // namespace velmorant
