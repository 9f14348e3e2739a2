#include "Orbelquist/Kernels/CompareCells.hpp"

#include <bit>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Orbelquist/Kernels/CompareCells.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orbelquist::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

namespace {

HWY_INLINE CellMask equalCells(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t tolerance) {
    const hn::CappedTag<std::uint8_t, cellCount> d;
    const auto allowed = hn::Set(d, tolerance);
    CellMask equal = 0;
    for (std::size_t cell = 0; cell < cellCount; cell += hn::Lanes(d)) {
        const auto x = hn::LoadU(d, a + cell), y = hn::LoadU(d, b + cell);
        const auto difference = hn::Or(hn::SaturatedSub(x, y), hn::SaturatedSub(y, x)); // one of the two is 0
        const auto within = hn::Eq(hn::SaturatedSub(difference, allowed), hn::Zero(d));
        std::uint8_t bits[8] = {};
        hn::StoreMaskBits(d, within, bits);
        CellMask part = 0;
        std::memcpy(&part, bits, sizeof part);
        equal |= part << cell;
    }
    return equal;
}

CellMask equalCellsOf(const RowSignature& a, const RowSignature& b, std::uint8_t tolerance) {
    return equalCells(a.data(), b.data(), tolerance);
}

void compareRows(const RowsView& a, const RowsView& b, std::uint8_t tolerance, std::span<RowAgreement> result) {
    for (std::size_t i = 0; i < result.size(); ++i) {
        const CellMask counted = ~(a.ignored[i] | b.ignored[i]);
        const CellMask equal = equalCells(a.signature[i].data(), b.signature[i].data(), tolerance);
        result[i] = {static_cast<std::int16_t>(std::popcount(equal & a.informed[i] & b.informed[i] & counted)),
                     static_cast<std::int16_t>(std::popcount(~equal & counted))};
    }
}

/// A row, to be compared with many: each of its cells less the tolerance, and more.
class Row {
public:
    Row(const RowSignature& row, std::uint8_t tolerance) {
        const auto allowed = hn::Set(d, tolerance);
        for (std::size_t cell = 0; cell < cellCount; cell += hn::Lanes(d)) {
            const auto levels = hn::LoadU(d, row.data() + cell);
            hn::Store(hn::SaturatedSub(levels, allowed), d, least_ + cell);
            hn::Store(hn::SaturatedAdd(levels, allowed), d, most_ + cell);
        }
    }

    CellMask equalCells(const RowSignature& other) const {
        CellMask equal = 0;
        for (std::size_t cell = 0; cell < cellCount; cell += hn::Lanes(d)) {
            const auto levels = hn::LoadU(d, other.data() + cell);
            const auto clamped = hn::Min(hn::Max(levels, hn::Load(d, least_ + cell)), hn::Load(d, most_ + cell));
            std::uint8_t bits[8] = {};
            hn::StoreMaskBits(d, hn::Eq(clamped, levels), bits);
            CellMask part = 0;
            std::memcpy(&part, bits, (hn::MaxLanes(d) + 7) / 8);
            equal |= part << cell;
        }
        return equal;
    }

private:
    static constexpr hn::CappedTag<std::uint8_t, cellCount> d = {};
    HWY_ALIGN std::uint8_t least_[cellCount], most_[cellCount];
};

void compareShifts(const RowsView& still, const RowsView& moving, std::uint8_t tolerance,
                   std::span<const std::uint32_t> rows, std::span<const std::size_t> counts,
                   std::span<BestRows> result) {
    const hn::CappedTag<std::int16_t, shiftsAtOnce> d;
    using Numbers = std::int16_t[shiftsAtOnce];
    HWY_ALIGN Numbers agreeing = {}, contradicting = {}; // of a row
    HWY_ALIGN Numbers sum = {}, against = {};            // of the stretch that ends with it: score, contradicting
    HWY_ALIGN Numbers best = {}, bestAgainst = {}, overall = {};
    std::size_t shifts = result.size();
    for (std::size_t k = 0;; ++k) {
        for (; shifts > 0 && counts[shifts - 1] == k; --shifts)
            agreeing[shifts - 1] = contradicting[shifts - 1] = 0;
        if (shifts == 0)
            break;
        const std::size_t i = rows[k];
        const Row row(still.signature[i], tolerance);
        const CellMask counted = ~still.ignored[i], informed = still.informed[i];
        for (std::size_t s = 0; s < shifts; ++s) {
            const CellMask equal = row.equalCells(moving.signature[i + s]), both = counted & ~moving.ignored[i + s];
            agreeing[s] = static_cast<std::int16_t>(std::popcount(equal & informed & moving.informed[i + s] & both));
            contradicting[s] = static_cast<std::int16_t>(std::popcount(~equal & both));
        }
        for (std::size_t s = 0; s < shiftsAtOnce; s += hn::Lanes(d)) {
            const auto differing = hn::Load(d, contradicting + s);
            hn::Store(hn::Add(hn::Load(d, overall + s), differing), d, overall + s);
            auto score = hn::Add(hn::Load(d, sum + s), hn::Load(d, agreeing + s));
            score = hn::Sub(hn::Sub(score, differing), differing);
            const auto goesOn = hn::Gt(score, hn::Zero(d));
            score = hn::IfThenElseZero(goesOn, score);
            const auto opposed = hn::IfThenElseZero(goesOn, hn::Add(hn::Load(d, against + s), differing));
            hn::Store(score, d, sum + s);
            hn::Store(opposed, d, against + s);
            const auto before = hn::Load(d, best + s);
            const auto isBest = hn::Gt(score, before);
            hn::Store(hn::Max(score, before), d, best + s);
            hn::Store(hn::IfThenElse(isBest, opposed, hn::Load(d, bestAgainst + s)), d, bestAgainst + s);
        }
    }
    for (std::size_t s = 0; s < result.size(); ++s)
        result[s] = {best[s], bestAgainst[s], overall[s]};
}

} // namespace

} // namespace orbelquist::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "Orbelquist/Kernels/Dispatch-inl.hpp"

namespace orbelquist {

CellMask equalCells(const RowSignature& a, const RowSignature& b, std::uint8_t tolerance) {
    return ORBELQUIST_DISPATCH(equalCellsOf)(a, b, tolerance);
}

void compareRows(const RowsView& a, const RowsView& b, std::uint8_t tolerance, std::span<RowAgreement> result) {
    ORBELQUIST_DISPATCH(compareRows)(a, b, tolerance, result);
}

void compareShifts(const RowsView& still, const RowsView& moving, std::uint8_t tolerance,
                   std::span<const std::uint32_t> rows, std::span<const std::size_t> counts,
                   std::span<BestRows> result) {
    ORBELQUIST_DISPATCH(compareShifts)(still, moving, tolerance, rows, counts, result);
}

} // namespace orbelquist
#endif
