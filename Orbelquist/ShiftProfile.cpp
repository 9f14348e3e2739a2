#include "Orbelquist/ShiftProfile.hpp"

#include <algorithm>

namespace orbelquist {

namespace {

/// The picture is told by its levels from what lies in front of it, within so many parts of the screen.
constexpr std::int64_t slabsPerScreen = 32;

/// The cells that are lighter or darker than all that is seen of the picture nearby, by half of what the picture itself
/// varies by: what lies in front of it, such as a bubble.
std::vector<CellMask> cellsInFront(const Frame& frame, const Furniture& picture, std::uint8_t tolerance) {
    struct Levels {
        int low = 256, high = -1;
        void add(const Levels& other) { low = std::min(low, other.low), high = std::max(high, other.high); }
    };
    const std::int64_t height = std::ssize(picture.cells), rows = std::max<std::int64_t>(1, height / slabsPerScreen);
    std::vector<Levels> slabs(static_cast<std::size_t>(frame.height / rows + 3)); // with one above and one below
    for (std::int64_t y = picture.topBar; y < height - picture.bottomBar; ++y)
        for (std::size_t cell = 0; cell < cellCount; ++cell)
            if (picture.cells[static_cast<std::size_t>(y)] >> cell & 1) {
                const int level = frame.signature[static_cast<std::size_t>(y)][cell];
                slabs[static_cast<std::size_t>(y / rows + 1)].add({level, level});
            }
    std::vector<CellMask> cells(frame.signature.size());
    for (std::size_t y = 0; y < cells.size(); ++y) {
        const std::size_t slab = y / static_cast<std::size_t>(rows);
        Levels near = slabs[slab];
        near.add(slabs[slab + 1]), near.add(slabs[slab + 2]);
        if (near.high < near.low)
            continue;
        const int room = (near.high - near.low) / 2 + tolerance;
        for (std::size_t cell = 0; cell < cellCount; ++cell) {
            const int level = frame.signature[y][cell];
            cells[y] |= CellMask{level > near.high + room || level < near.low - room} << cell;
        }
    }
    return cells;
}

/// Without the outermost cells of each row's runs: at the edge of what lies in front of a picture, half a cell is
/// picture.
CellMask withoutEdges(CellMask row) {
    const CellMask toLeft = row << 1 | (row & 1), toRight = row >> 1 | (row & CellMask{1} << (cellCount - 1));
    return row & toLeft & toRight;
}

} // namespace

FramePair::FramePair(const Frame& a, const Frame& b, std::uint8_t tolerance)
    : FramePair(a, b, tolerance, furnitureOf(a, b, tolerance)) {}

FramePair::FramePair(const Frame& a, const Frame& b, std::uint8_t tolerance, Furniture furniture)
    : a_(a), b_(b), tolerance_(tolerance), furniture_(std::move(furniture)), ignoredInA_(furniture_.cells),
      ignoredInB_(furniture_.cells) {
    ignoredInA_.resize(static_cast<std::size_t>(a.height));
    ignoredInB_.resize(static_cast<std::size_t>(b.height));
}

FramePair FramePair::withBarsAlone() const {
    Furniture bars = furniture_;
    if (bars.topRows + bars.bottomRows < std::ssize(bars.cells))
        std::fill(bars.cells.begin() + bars.topRows, bars.cells.end() - bars.bottomRows, CellMask{0});
    return FramePair(a_, b_, tolerance_, std::move(bars));
}

FramePair FramePair::withBackdrop(std::span<const Frame* const> neighbours, std::int64_t blocks) const {
    std::vector<const Frame*> all{&a_, &b_};
    all.insert(all.end(), neighbours.begin(), neighbours.end());
    std::vector<CellMask> picture(static_cast<std::size_t>(std::max(a_.height, b_.height)));
    std::vector<std::vector<CellMask>> front, still; // of each frame: before the picture, and the picture itself
    for (const Frame* frame : all) {
        front.push_back(cellsInFront(*frame, furniture_, tolerance_));
        still.emplace_back(frame->signature.size());
    }
    for (std::size_t i = 0; i < all.size(); ++i)
        for (std::size_t k = i + 1; k < all.size(); ++k) {
            const std::vector<CellMask> cells = stillCells(*all[i], *all[k], tolerance_);
            const Furniture sure = furnitureOf(*all[i], *all[k], tolerance_); // the flat may be equal by chance
            for (std::size_t y = 0; y < cells.size(); ++y) {
                const CellMask behind = ~front[i][y] & ~front[k][y];
                still[i][y] |= cells[y] & behind, still[k][y] |= cells[y] & behind;
                if (y < picture.size())
                    picture[y] |= sure.cells[y] & behind;
            }
        }

    FramePair pair = *this;
    pair.blocksOfBackdrop_ = blocks;
    const auto look = [&](std::size_t i, std::vector<CellMask>& ignored, std::vector<CellMask>& page) {
        page.resize(ignored.size());
        for (std::size_t y = 0; y < page.size(); ++y) {
            ignored[y] |= still[i][y];
            page[y] = withoutEdges((front[i][y] | picture[y]) & ~ignored[y]);
        }
    };
    look(0, pair.ignoredInA_, pair.pageInA_);
    look(1, pair.ignoredInB_, pair.pageInB_);
    return pair;
}

void FramePair::compare(std::int64_t shift, std::vector<RowAgreement>& rows) const {
    const std::int64_t first = firstRow(shift), last = lastRow(shift);
    rows.resize(static_cast<std::size_t>(std::max<std::int64_t>(0, last - first)));
    if (rows.empty())
        return;
    const auto inA = static_cast<std::size_t>(first + shift), inB = static_cast<std::size_t>(first);
    compareRows({&a_.signature[inA], &a_.informed[inA], &ignoredInA_[inA]},
                {&b_.signature[inB], &b_.informed[inB], &ignoredInB_[inB]}, tolerance_, rows);
}

Stretch bestStretch(std::int64_t shift, std::int64_t firstRow, const std::vector<RowAgreement>& rows) {
    std::int64_t overall = 0;
    Stretch best{.shift = shift}, current{.shift = shift, .first = firstRow};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        current.agreeing += rows[i].agreeing;
        current.contradicting += rows[i].contradicting;
        overall += rows[i].contradicting;
        current.last = firstRow + static_cast<std::int64_t>(i + 1);
        if (current.score() <= 0)
            current = {.shift = shift, .first = current.last};
        else if (current.score() > best.score())
            best = current;
    }
    best.overall = overall;
    return best;
}

} // namespace orbelquist
