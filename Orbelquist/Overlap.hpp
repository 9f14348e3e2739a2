#pragma once

#include "Orbelquist/BarEvidence.hpp"
#include "Orbelquist/BlockComparison.hpp"
#include "Orbelquist/ShiftProfile.hpp"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orbelquist {

/// Two frames of a pair laid over each other at a shift, and where the bands of blocks lie on their screens. Each frame
/// is told by whether it is the second.
class Overlap {
public:
    /// One band of so many is compared first; the others stay blank until the comparison is told to compare the rest.
    Overlap(const FramePair& pair, std::int64_t shift, std::size_t every)
        : pair_(pair), shift_(shift), comparison_(pair.layout(shift), every) {}

    const FramePair& pair() const { return pair_; }
    std::int64_t shift() const { return shift_; }
    BlockComparison& comparison() { return comparison_; }
    const BlockComparison& comparison() const { return comparison_; }
    std::vector<Band>& bands() { return comparison_.bands(); }
    const std::vector<Band>& bands() const { return comparison_.bands(); }

    const Frame& frame(bool second) const { return second ? pair_.b() : pair_.a(); }
    /// From a row of the second frame to the row of the screen, of either, that lies there.
    std::int64_t toScreen(bool second) const { return second ? 0 : shift_; }

    /// A block of either frame, where it lies on the screen.
    ScreenBlock onScreen(std::size_t band, std::size_t block, bool second) const;

    /// Whether the overlap ends, at its top or at its bottom, where the second frame's screen does, and not the
    /// first's.
    bool edgeIsOfSecond(bool top) const {
        return top ? comparison_.layout().first == 0 : comparison_.layout().last == pair_.b().height;
    }

    /// Whether a band lies where a bar of the frame may be: at its top, or at its bottom.
    bool isInZone(std::size_t band, bool second, bool top) const;

    /// Where no bar of either frame can be.
    bool isAmidPage(std::size_t band) const;

    /// Whether a band is something else over most of its width.
    bool isCovered(std::size_t band) const {
        return bands()[band].isDense() && bands()[band].count(Block::covered) * 2 > bands()[band].against();
    }

private:
    const FramePair& pair_;
    const std::int64_t shift_;
    BlockComparison comparison_;
};

} // namespace orbelquist
