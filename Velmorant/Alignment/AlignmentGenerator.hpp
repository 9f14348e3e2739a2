#pragma once

#include "Orbelquist/KSVPattern.hpp"
#include "Velmorant/Alignment/Alignment.hpp"
#include "Velmorant/Model/Group.hpp"

#include <expected>
#include <optional>
#include <system_error>
#include <vector>

namespace velmorant {

/// Consecutive valid patterns with the items they span, one more than patterns: pattern k matches items k and k + 1.
struct PatternRun {
    std::vector<orbelquist::KSVPattern> patterns;
    std::vector<StitchableItem> items;
};

/// Turns the pattern maker's answers into positions. Pure functions.
struct AlignmentGenerator {
    /// The longest run of valid patterns, the first of equally long ones; all items where every pattern is valid, even
    /// where there is none. Nothing where no pattern is valid. `patterns` holds one a pair of `group`'s items.
    std::optional<PatternRun> bestRun(const std::vector<orbelquist::KSVPattern>& patterns, const Group& group) const;

    /// Places `items` by `patterns`, all valid, from the top down; upwards where the first pattern's offset is below 1.
    /// Fails with `AlignmentError` without patterns or items. The canvas is as wide as the last item and ends with it.
    std::expected<Alignment, std::error_code> generateAlignment(std::vector<StitchableItem> items,
                                                                std::vector<orbelquist::KSVPattern> patterns) const;
};

} // namespace velmorant
