#pragma once

#include "Orbelquist/Frame.hpp"
#include "Orbelquist/Kernels/BlockSums.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace orbelquist {

/// A row of blocks is a band.
inline constexpr std::int64_t bandsPerScreen = 100;

/// The level of the even ground that strokes lie on.
inline constexpr std::uint8_t strokeGround = 128;

/// What a block says of two frames laid over each other.
enum class Block : std::uint8_t {
    blank,   ///< nothing: without information, or furniture
    lines,   ///< the same in both, but nothing other than lines across, which many places have
    alike,   ///< the same in both
    unclear, ///< between alike and not
    bar,     ///< not alike, but part of a bar that stands still
    shapes,  ///< other shapes on the same ground, such as other text
    covered, ///< another ground: a bar, an overlay, a picture that moves
};

class Band {
public:
    Block at(std::size_t block) const { return blocks_[block]; }
    void set(std::size_t block, Block kind) {
        --counts_[static_cast<std::size_t>(blocks_[block])];
        ++counts_[static_cast<std::size_t>(kind)];
        blocks_[block] = kind;
    }

    int count(Block kind) const { return counts_[static_cast<std::size_t>(kind)]; }
    bool isBlank() const { return count(Block::blank) == blocksAcross; }
    int against() const { return count(Block::shapes) + count(Block::covered); }
    bool contradicts(std::size_t block) const { return blocks_[block] >= Block::shapes; }
    /// More than half its width is something else: text is seldom that dense.
    bool isDense() const { return against() > blocksAcross / 2; }

private:
    std::array<Block, blocksAcross> blocks_ = {};
    std::array<int, 7> counts_ = {blocksAcross};
};

/// Two frames laid over each other, and how their blocks compare. Blocks are alike, or are not, by their squared
/// difference over their variance, which lossy coding hardly changes.
class BlockComparison {
public:
    /// Rows `first` to `last` of `b` on the rows `shift` further down of `a`, without the cells ignored in either.
    /// Where masks tell which cells show the page for certain, none contradicts but where nearly all is these. One mask
    /// a row, or no masks.
    struct Layout {
        const Frame& a;
        const Frame& b;
        std::int64_t shift = 0;
        std::int64_t first = 0, last = 0;
        std::span<const CellMask> ignoredInA = {}, ignoredInB = {};
        std::span<const CellMask> pageInA = {}, pageInB = {};
        bool areStrokes = false; ///< both frames show strokes alone, of which each may have lost some
    };

    /// Compares one band of so many; the others stay blank until `compareRest`.
    explicit BlockComparison(const Layout& layout, std::size_t every = 1);
    void compareRest();

    /// Tells blocks with another ground from those with other shapes; until then all that contradict are `shapes`.
    void findCovered();

    /// Whether one of the frames shows the page for certain in more than so many percent of what counts of a block.
    bool isPage(std::size_t band, std::size_t block, std::int64_t percent = 50) const;

    /// Whether a block of the second frame is the same from row to row, as those above and below it are, higher than a
    /// letter: the side of a card, which tells no row.
    bool isUpright(std::size_t band, std::size_t block) const;

    const Layout& layout() const { return layout_; }
    std::vector<Band>& bands() { return bands_; }
    const std::vector<Band>& bands() const { return bands_; }

    std::int64_t bandRows() const { return bandRows_; }
    std::int64_t rowOf(std::size_t band) const { return layout_.first + static_cast<std::int64_t>(band) * bandRows_; }
    std::int64_t endOf(std::size_t band) const { return std::min(rowOf(band) + bandRows_, layout_.last); }
    /// The pixels of a row that belong to a block: from `columnOf(block)` up to that of the next.
    std::int64_t columnOf(std::size_t block) const {
        return static_cast<std::int64_t>(block) * layout_.b.width / blocksAcross;
    }
    CellMask ignoredAt(std::int64_t row) const; ///< a row of `b`

    /// Of half of the like blocks at most, over their variance: the frames' own noise.
    double difference() const { return difference_; }
    /// By which the difference of equal blocks may exceed nothing, in square levels.
    double noise() const { return noise_; }

private:
    bool hasBackdrop() const { return !layout_.pageInA.empty(); }

    /// Of a block, per pixel: levels, and square levels.
    struct Measure {
        float mean = 0, meanB = 0, difference = 0, varianceA = 0, varianceB = 0;
        bool isCounted = false;

        float variance() const { return std::max(varianceA, varianceB); }
        bool hasLostStrokes() const; ///< one of the frames, which shows the ground alone
    };
    using Measures = std::array<Measure, blocksAcross>;

    std::vector<CellMask> ignoredIn(std::size_t band) const; ///< a row
    Measures measure(std::size_t band) const;
    bool areEqual(std::size_t band) const; ///< pixel for pixel
    /// Calls visit(row of b, rows, first column, columns) for all that counts of a block, with `ignored` of each row.
    template <class Visit>
    void visitPieces(std::size_t band, std::size_t block, std::span<const CellMask> ignored, Visit visit) const;
    PixelSums sumsOf(std::size_t band, std::size_t block, std::span<const CellMask> ignored, bool isEqual) const;
    /// The mean square step from a pixel of the second frame to the next.
    double stepAcross(std::size_t band, std::size_t block, std::span<const CellMask> ignored) const;
    void judge();
    double measuredNoise() const;
    bool isOtherGround(std::size_t band, std::size_t block) const;

    bool isFirst(std::size_t band) const { return band % every_ == every_ / 2; }

    const Layout layout_;
    const std::int64_t bandRows_;
    const std::size_t every_;
    std::vector<Measures> measures_; ///< one a band
    std::vector<Band> bands_;
    double difference_ = 0, noise_ = 0;
};

} // namespace orbelquist
