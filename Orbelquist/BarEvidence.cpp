#include "Orbelquist/BarEvidence.hpp"

#include "Orbelquist/Kernels/ScreenSums.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

namespace orbelquist {

namespace {

/// What follows from something follows to this part of its variance.
constexpr double explained = 0.8;
/// Less varies next to nothing.
constexpr double leastVariance = 36; // square levels
/// Levels by which equal grounds may differ.
constexpr double sameLevel = 2;
/// A block without shapes has fewer edge pixels than one of so many.
constexpr std::int64_t shapelessShare = 100;

/// A block's pixels x, those at the same place of the other screen s, and those of the page there p.
class Moments {
public:
    explicit Moments(const ScreenBlock& block)
        : block_(block), from_(std::max({block.top, -block.toPage, std::int64_t{0}})),
          to_(std::min({block.bottom, block.other.height, block.other.height - block.toPage, block.frame.height})) {
        if (isEmpty())
            return;
        const auto columns = static_cast<std::size_t>(block.right - block.left);
        const auto rows = static_cast<std::size_t>(to_ - from_);
        sums_ = screenSums(block.frame.row(from_) + block.left, block.other.row(from_) + block.left,
                           block.other.row(from_ + block.toPage) + block.left,
                           static_cast<std::size_t>(block.frame.width), columns, rows);
        count_ = static_cast<double>(columns * rows);
    }

    bool isEmpty() const { return from_ >= to_ || block_.left >= block_.right; }
    bool isFlat() const { return varianceX() < leastVariance + block_.noise; }
    bool isStillGround() const {
        return isFlat() && varianceS() < leastVariance + block_.noise &&
               std::abs(static_cast<double>(sums_.x) - static_cast<double>(sums_.s)) <= sameLevel * count_;
    }
    bool isShapeless() const { return isFlat() || static_cast<double>(edges() * shapelessShare) < count_; }
    bool followsFromScreen() const { return follows(screen()); }
    /// From the screen, the page, or the one seen through the other.
    bool followsFromBoth() const {
        const double s = varianceS(), p = varianceP(), sp = covariance(sums_.sp, sums_.s, sums_.p);
        const double xs = covariance(sums_.xs, sums_.x, sums_.s), xp = covariance(sums_.xp, sums_.x, sums_.p),
                     determinant = s * p - sp * sp;
        const double mixed = determinant > 1 ? (xs * xs * p - 2 * xs * xp * sp + xp * xp * s) / determinant : 0;
        return follows(std::max({screen(), page(), mixed}));
    }
    /// Weaker than there: what lets it shine through adds nothing to it.
    bool followsFromPage() const {
        const double xp = covariance(sums_.xp, sums_.x, sums_.p);
        return xp > 0 && xp < varianceP() && follows(page());
    }
    /// Pixel by pixel from the one or the other: something small in front of the page.
    bool isComposed() const {
        return static_cast<double>(sums_.nearest) / count_ - 2 * block_.noise < (1 - explained) * varianceX();
    }

private:
    double covariance(std::uint64_t product, std::uint64_t u, std::uint64_t v) const {
        return (static_cast<double>(product) - static_cast<double>(u) * static_cast<double>(v) / count_) / count_;
    }
    double varianceX() const { return covariance(sums_.xx, sums_.x, sums_.x); }
    double varianceS() const { return covariance(sums_.ss, sums_.s, sums_.s); }
    double varianceP() const { return covariance(sums_.pp, sums_.p, sums_.p); }
    /// The variance of x that follows from s.
    double screen() const {
        const double xs = covariance(sums_.xs, sums_.x, sums_.s), s = varianceS();
        return s > 1 ? xs * xs / s : 0;
    }
    /// And that from p.
    double page() const {
        const double xp = covariance(sums_.xp, sums_.x, sums_.p), p = varianceP();
        return p > 1 ? xp * xp / p : 0;
    }
    bool follows(double variance) const { return variance > explained * (varianceX() - block_.noise); }

    std::int64_t edges() const {
        const std::int64_t left = std::max<std::int64_t>(0, block_.left - 1); // what lies beside them tells, too
        const std::int64_t right = std::min(block_.frame.width, block_.right + 1);
        std::vector<std::uint8_t> row(static_cast<std::size_t>(right - left));
        std::int64_t edges = 0;
        for (std::int64_t y = from_; y < to_; ++y) {
            markEdges(block_.frame, y, left, row);
            edges += std::count(row.begin() + (block_.left - left), row.end() - (right - block_.right), 1);
        }
        return edges;
    }

    const ScreenBlock& block_;
    const std::int64_t from_, to_; ///< rows that both frames have
    ScreenSums sums_;
    double count_ = 0;
};

} // namespace

bool standsStill(const ScreenBlock& block) {
    const Moments moments(block);
    return !moments.isEmpty() && !moments.isFlat() && moments.followsFromScreen();
}

bool isStillGround(const ScreenBlock& block) {
    const Moments moments(block);
    return !moments.isEmpty() && moments.isStillGround();
}

bool mayBeBar(const ScreenBlock& block, bool shapeless) {
    const Moments moments(block);
    if (moments.isEmpty())
        return false;
    return (shapeless && moments.isShapeless()) || moments.followsFromBoth() || moments.isComposed();
}

bool followsFromBoth(const ScreenBlock& block) {
    const Moments moments(block);
    return !moments.isEmpty() && moments.followsFromBoth();
}

bool followsFromPage(const ScreenBlock& block) {
    const Moments moments(block);
    return !moments.isEmpty() && !moments.isFlat() && moments.followsFromPage();
}

bool hasStandingEdge(const Frame& a, const Frame& b, const Furniture& furniture, std::int64_t row, std::int64_t reach) {
    const std::int64_t first = 1 + reach + std::max(furniture.topBar, furniture.topRows);
    const std::int64_t last =
        std::min(a.height, b.height) - 2 - reach - std::max(furniture.bottomBar, furniture.bottomRows);
    for (std::int64_t y = std::max(first, row - reach); y <= std::min(last, row + reach); ++y)
        if (std::min(cellsOfStep(a, y), cellsOfStep(b, y)) * 2 > cellCount)
            return true;
    return false;
}

} // namespace orbelquist
