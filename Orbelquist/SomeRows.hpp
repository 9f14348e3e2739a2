#pragma once

#include <cstdint>

namespace orbelquist {

/// Calls visit(row) for rows from `first` up to `last`: for all, or for `most` of them where there are more, each a
/// golden part of all further on than the one before: they lie everywhere, and no list's period is theirs.
template <class Visit>
void visitSome(std::int64_t first, std::int64_t last, std::int64_t most, Visit visit) {
    constexpr std::uint32_t goldenPart = 0x9e3779b9; // of 2^32
    const std::int64_t rows = last - first;
    if (rows <= most) {
        for (std::int64_t row = first; row < last; ++row)
            visit(row);
        return;
    }
    for (std::uint32_t i = 0; i < most; ++i) {
        const std::uint64_t part = i * goldenPart; // modulo 2^32
        visit(first + static_cast<std::int64_t>(part * static_cast<std::uint64_t>(rows) >> 32));
    }
}

} // namespace orbelquist
