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

void compareRows(const RowsView& a, const RowsView& b, std::uint8_t tolerance, std::size_t step,
                 std::span<RowAgreement> result) {
    for (std::size_t k = 0, i = 0; k < result.size(); ++k, i += step) {
        const CellMask counted = ~(a.ignored[i] | b.ignored[i]);
        const CellMask equal = equalCells(a.signature[i].data(), b.signature[i].data(), tolerance);
        result[k] = {static_cast<std::int16_t>(std::popcount(equal & a.informed[i] & b.informed[i] & counted)),
                     static_cast<std::int16_t>(std::popcount(~equal & counted))};
    }
}

} // namespace orbelquist::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "Orbelquist/Kernels/Dispatch-inl.hpp"

namespace orbelquist {

CellMask equalCells(const RowSignature& a, const RowSignature& b, std::uint8_t tolerance) {
    return ORBELQUIST_DISPATCH(equalCellsOf)(a, b, tolerance);
}

void compareRows(const RowsView& a, const RowsView& b, std::uint8_t tolerance, std::size_t step,
                 std::span<RowAgreement> result) {
    ORBELQUIST_DISPATCH(compareRows)(a, b, tolerance, step, result);
}

} // namespace orbelquist
#endif
