#pragma once

#include "Velmorant/Model/Hash.hpp"

#include <cstdint>
#include <string>

namespace velmorant {

/// Rows from `lower` up to, not including, `upper`; lower <= upper.
struct RowRange {
    std::int64_t lower = 0;
    std::int64_t upper = 0;

    RowRange shifted(std::int64_t rows) const { return {lower + rows, upper + rows}; }

    friend bool operator==(const RowRange&, const RowRange&) = default;
};

/// Where an item lies in the stitched canvas. Rows are pixels and grow downwards; row 0 is the canvas's top edge.
struct Position {
    std::int64_t offset = 0; ///< the canvas row of the item's top edge
    /// The band, in rows of this item, in which it shows the same as the item placed just above it.
    RowRange localOverlap;
    RowRange globalOverlap; ///< `localOverlap` moved down by the offset of the item above

    std::string debugDescription() const;

    friend bool operator==(const Position&, const Position&) = default;

    // Ordered by offset alone: positions of equal offsets are neither less nor greater, though they may be unequal.
    friend bool operator<(const Position& a, const Position& b) { return a.offset < b.offset; }
    friend bool operator>(const Position& a, const Position& b) { return b < a; }
    friend bool operator<=(const Position& a, const Position& b) { return !(b < a); }
    friend bool operator>=(const Position& a, const Position& b) { return !(a < b); }
};

} // namespace velmorant

template <>
struct std::hash<velmorant::Position> {
    std::size_t operator()(const velmorant::Position& p) const noexcept {
        return velmorant::hashOf(p.offset, p.localOverlap.lower, p.localOverlap.upper, p.globalOverlap.lower,
                                 p.globalOverlap.upper);
    }
};
