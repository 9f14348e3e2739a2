#include "Orbelquist/Backdrop.hpp"

#include "Orbelquist/BlockComparison.hpp"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

namespace orbelquist {

namespace {

/// A picture behind the page leaves at least so many blocks that stand still, however little of it shows.
constexpr std::int64_t leastBlocks = 8;

/// The picture is told by its levels from what lies in front of it, within so many parts of the screen.
constexpr std::int64_t slabsPerScreen = 32;

/// A patch is a cell wide and one of so many parts of the screen high, a third of a letter, but not less than this.
constexpr std::int64_t patchesPerScreen = 300, leastPatchRows = 4;
/// What the page lies on has a level of its own, that of at least one of so many patches between the bars, and of so
/// many times as many as any two or three levels off: those of a sky run into each other, and coding turns one level
/// into its neighbours.
constexpr std::int64_t groundShare = 100, groundPeak = 3;
/// But it is the picture's where at least one of so many blocks that stand still lie on it, and of so many that lie on
/// it stand still: one of its patterns shows in many places of both frames.
constexpr std::int64_t standingShare = 16, standingOnLevelShare = 20;
constexpr int sameLevel = 2;
/// Text on such a ground has none of its own in so many cells in a row, at most.
constexpr std::size_t letterCells = 4;

/// The cells that are lighter or darker than all that is seen of the picture nearby, by half of what the picture itself
/// varies by: what lies in front of it, such as a bubble.
std::vector<CellMask> cellsInFront(const Frame& frame, const Furniture& picture, std::uint8_t tolerance) {
    struct Levels {
        int low = 256, high = -1;
        void add(const Levels& other) { low = std::min(low, other.low), high = std::max(high, other.high); }
    };
    const std::int64_t height = std::ssize(picture.cells), rows = std::max<std::int64_t>(1, height / slabsPerScreen);
    std::vector<Levels> slabs(static_cast<std::size_t>(frame.height / rows + 3)); // with one above and one below
    const std::int64_t end = std::min(height - picture.bottomBar, frame.height);
    for (std::int64_t y = picture.topBar; y < end; ++y)
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

/// Of each patch, from top to bottom, and cell: the level that at least half of its pixels have; -1 if none does.
using Grounds = std::vector<std::array<std::int16_t, cellCount>>;

Grounds groundsOf(const Frame& frame, std::int64_t patchRows) {
    Grounds grounds(static_cast<std::size_t>((frame.height + patchRows - 1) / patchRows));
    for (std::size_t patch = 0; patch < grounds.size(); ++patch) {
        const std::int64_t top = static_cast<std::int64_t>(patch) * patchRows;
        const std::int64_t bottom = std::min(frame.height, top + patchRows);
        for (std::int64_t cell = 0; cell < cellCount; ++cell) {
            const std::int64_t left = cell * frame.width / cellCount, right = (cell + 1) * frame.width / cellCount;
            std::array<std::int64_t, 256> pixels = {};
            std::size_t ground = 0;
            for (std::int64_t y = top; y < bottom; ++y)
                for (std::int64_t x = left; x < right; ++x) {
                    const std::uint8_t level = frame.row(y)[x];
                    if (++pixels[level] > pixels[ground])
                        ground = level;
                }
            const bool isGround = right > left && pixels[ground] * 2 >= (bottom - top) * (right - left);
            grounds[patch][static_cast<std::size_t>(cell)] =
                isGround ? static_cast<std::int16_t>(ground) : std::int16_t{-1};
        }
    }
    return grounds;
}

/// Which levels the page lies on and the picture does not.
class PageLevels {
public:
    /// `unmoved`: the two frames laid on each other as they are, without their bars.
    PageLevels(const BlockComparison& unmoved, const std::array<Grounds, 2>& grounds, std::int64_t patchRows) {
        std::int64_t patches = 0;
        for (const Grounds& ground : grounds)
            for (std::size_t patch = ground.size() / tallestBar; patch < ground.size() - ground.size() / tallestBar;
                 ++patch)
                for (const std::int16_t level : ground[patch]) {
                    ++patches;
                    if (level >= 0)
                        ++patches_[static_cast<std::size_t>(level)];
                }
        countBlocks(unmoved, grounds, patchRows);
        for (std::size_t level = 0; level < 256; ++level) {
            std::int64_t near = 0;
            for (const std::size_t other : {level - 3, level - 2, level + 2, level + 3})
                near = std::max(near, other < 256 ? patches_[other] : 0);
            const bool isPictures = standing_[level] * standingShare >= allStanding_ &&
                                    standing_[level] * standingOnLevelShare >= blocks_[level];
            isPage_[level] =
                patches_[level] * groundShare >= patches && patches_[level] > groundPeak * near && !isPictures;
            if (isPage_[level] && patches_[level] * 2 > patches)
                most_ = static_cast<int>(level);
        }
    }

    /// The one that most of the screen lies on, if any.
    std::optional<int> most() const { return most_; }

    bool has(int level) const { return level >= 0 && isPage_[static_cast<std::size_t>(level)]; }

private:
    /// Blocks that hold anything, by the levels they lie on; half blocks, in either frame.
    void countBlocks(const BlockComparison& unmoved, const std::array<Grounds, 2>& grounds, std::int64_t patchRows) {
        for (std::size_t i = 0; i < unmoved.bands().size(); ++i) {
            const auto patch = static_cast<std::size_t>((unmoved.rowOf(i) + unmoved.endOf(i)) / 2 / patchRows);
            for (std::size_t k = 0; k < blocksAcross; ++k) {
                const Block block = unmoved.bands()[i].at(k);
                const bool stands = block == Block::alike || block == Block::lines;
                if (block == Block::blank || (stands && unmoved.isUpright(i, k))) // the side of a card, at any rows
                    continue;
                for (const Grounds& ground : grounds)
                    for (const std::size_t cell : {2 * k, 2 * k + 1})
                        count(ground[patch][cell], stands);
            }
        }
    }

    void count(int ground, bool stands) {
        allStanding_ += stands;
        if (ground < 0)
            return;
        for (int level = std::max(0, ground - sameLevel); level <= std::min(255, ground + sameLevel); ++level) {
            ++blocks_[static_cast<std::size_t>(level)];
            standing_[static_cast<std::size_t>(level)] += stands;
        }
    }

    std::array<std::int64_t, 256> patches_ = {}, blocks_ = {}, standing_ = {};
    std::int64_t allStanding_ = 0;
    std::optional<int> most_;
    std::array<bool, 256> isPage_ = {};
};

/// The cells that lie on a level that `isWanted(level)`.
template <class Wanted>
std::vector<CellMask> cellsOnGround(const Frame& frame, const Grounds& grounds, std::int64_t patchRows,
                                    Wanted isWanted) {
    std::vector<CellMask> cells(static_cast<std::size_t>(frame.height));
    for (std::size_t y = 0; y < cells.size(); ++y)
        for (std::size_t cell = 0; cell < cellCount; ++cell)
            cells[y] |= CellMask{isWanted(grounds[y / static_cast<std::size_t>(patchRows)][cell])} << cell;
    return cells;
}

/// With the gaps of a row that are no wider than a few letters: text on the ground.
CellMask withLetters(CellMask row) {
    CellMask letters = 0;
    for (std::size_t left = 1; left <= letterCells; ++left)
        for (std::size_t right = 1; left + right <= letterCells + 1; ++right)
            letters |= row << left & row >> right;
    return row | letters;
}

/// Without the outermost cells of each row's runs: at the edge of what lies in front of a picture, half a cell is
/// picture.
CellMask withoutEdges(CellMask row) {
    const CellMask toLeft = row << 1 | (row & 1), toRight = row >> 1 | (row & CellMask{1} << (cellCount - 1));
    return row & toLeft & toRight;
}

bool isUnevenBetweenBars(const Frame& frame, std::uint8_t tolerance) {
    std::array<std::int64_t, 256> cells = {};
    const std::int64_t first = frame.height / tallestBar;
    for (std::int64_t y = first; y < frame.height - first; ++y)
        for (const std::uint8_t level : frame.signature[static_cast<std::size_t>(y)])
            ++cells[level];
    return isUneven(cells, tolerance);
}

} // namespace

bool isUneven(std::span<const std::int64_t> levels, std::uint8_t tolerance) {
    std::int64_t all = 0, most = 0;
    for (std::size_t level = 0; level < levels.size(); ++level) {
        all += levels[level];
        const auto near = levels.subspan(level, std::min<std::size_t>(tolerance + 1u, levels.size() - level));
        most = std::max(most, std::accumulate(near.begin(), near.end(), std::int64_t{0}));
    }
    return most * 5 < all * 2;
}

bool areUneven(const Frame& a, const Frame& b, std::uint8_t tolerance) {
    return isUnevenBetweenBars(a, tolerance) && isUnevenBetweenBars(b, tolerance);
}

std::optional<Backdrop> backdropBehind(const Frame& a, const Frame& b, std::span<const Frame* const> neighbours,
                                       const Furniture& furniture, std::uint8_t tolerance) {
    const std::int64_t height = std::min(a.height, b.height), bar = height / tallestBar;
    const std::int64_t first = std::max(bar, furniture.topRows), last = height - std::max(bar, furniture.bottomRows);
    if (first >= last)
        return std::nullopt;
    const BlockComparison unmoved({.a = a, .b = b, .first = first, .last = last});
    Backdrop backdrop;
    for (const Band& band : unmoved.bands())
        backdrop.blocks += band.count(Block::alike) + band.count(Block::lines);
    if (areUneven(a, b, tolerance)) // a photograph may have no edges
        backdrop.blocks = bandsPerScreen * blocksAcross;
    if (backdrop.blocks < leastBlocks)
        return std::nullopt;

    std::vector<const Frame*> all{&a, &b};
    all.insert(all.end(), neighbours.begin(), neighbours.end());
    std::vector<std::vector<CellMask>> front, still; // of each frame: before the picture, and the picture itself
    for (const Frame* frame : all) {
        front.push_back(cellsInFront(*frame, furniture, tolerance));
        still.emplace_back(frame->signature.size());
    }
    std::vector<CellMask> known(static_cast<std::size_t>(std::max(a.height, b.height)));
    for (std::size_t i = 0; i < all.size(); ++i)
        for (std::size_t k = i + 1; k < all.size(); ++k) {
            const std::vector<CellMask> cells = stillCells(*all[i], *all[k], tolerance);
            const std::vector<CellMask> sure = // the flat may be equal by chance
                k == 1 ? furniture.cells : furnitureOf(*all[i], *all[k], tolerance).cells;
            for (std::size_t y = 0; y < cells.size(); ++y) {
                const CellMask behind = ~front[i][y] & ~front[k][y];
                still[i][y] |= cells[y] & behind, still[k][y] |= cells[y] & behind;
                if (y < known.size())
                    known[y] |= sure[y] & behind;
            }
        }

    const std::int64_t patchRows = std::max(leastPatchRows, height / patchesPerScreen);
    const std::array<Grounds, 2> grounds{groundsOf(a, patchRows), groundsOf(b, patchRows)};
    const PageLevels levels(unmoved, grounds, patchRows);
    backdrop.isCovered = levels.most().has_value();
    const auto pageIn = [&](std::size_t i) {
        const auto onGround = [&](auto isWanted) { return cellsOnGround(*all[i], grounds[i], patchRows, isWanted); };
        std::vector<CellMask> page = onGround([&](int level) { return levels.has(level); });
        const std::vector<CellMask> cards = onGround([&](int level) { return level == levels.most(); });
        for (std::size_t y = 0; y < page.size(); ++y) {
            still[i][y] &= ~cards[y]; // the flat of two cards is equal, too
            if (y < furniture.cells.size())
                still[i][y] |= furniture.cells[y];
            page[y] = withoutEdges((withLetters(page[y]) | front[i][y] | known[y]) & ~still[i][y]);
        }
        return page;
    };
    backdrop.pageInA = pageIn(0), backdrop.pageInB = pageIn(1);
    backdrop.ignoredInA = std::move(still[0]), backdrop.ignoredInB = std::move(still[1]);
    return backdrop;
}

} // namespace orbelquist
