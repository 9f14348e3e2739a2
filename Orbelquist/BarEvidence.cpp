#include "Orbelquist/BarEvidence.hpp"

#include <algorithm>

namespace orbelquist {

namespace {

/// What follows from something follows to this part of its variance.
constexpr double explained = 0.8;
/// Less varies next to nothing.
constexpr double leastVariance = 36; // square levels
/// A block without shapes has fewer edge pixels than one of so many.
constexpr double shapelessShare = 100;

/// A block's pixels x, those at the same place of the other screen s, and those of the page there p.
class Moments {
public:
    explicit Moments(const ScreenBlock& block) : noise_(block.noise) {
        const auto& [frame, other, top, bottom, left, right, toPage, noise] = block;
        const std::int64_t from = std::max({top, -toPage, std::int64_t{0}});
        const std::int64_t to = std::min({bottom, other.height, other.height - toPage, frame.height});
        for (std::int64_t row = from; row < to; ++row) {
            const std::uint8_t *x = frame.row(row), *s = other.row(row), *p = other.row(row + toPage);
            const std::uint8_t* edges = frame.edgeRow(row);
            for (std::int64_t i = left; i < right; ++i) {
                const double u = x[i], v = s[i], w = p[i];
                x_ += u, s_ += v, p_ += w;
                xx_ += u * u, ss_ += v * v, pp_ += w * w, xs_ += u * v, xp_ += u * w, sp_ += v * w;
                nearest_ += std::min((u - v) * (u - v), (u - w) * (u - w));
                edges_ += edges[i];
                ++count_;
            }
        }
    }

    bool isEmpty() const { return count_ == 0; }
    bool isFlat() const { return varianceX() < leastVariance + noise_; }
    bool isShapeless() const { return isFlat() || edges_ * shapelessShare < count_; }
    bool followsFromScreen() const { return follows(screen()); }
    /// From the screen, the page, or the one seen through the other.
    bool followsFromBoth() const {
        const double s = varianceS(), p = varianceP(), sp = covariance(sp_, s_, p_);
        const double xs = covariance(xs_, x_, s_), xp = covariance(xp_, x_, p_), determinant = s * p - sp * sp;
        const double mixed = determinant > 1 ? (xs * xs * p - 2 * xs * xp * sp + xp * xp * s) / determinant : 0;
        return follows(std::max({screen(), p > 1 ? xp * xp / p : 0, mixed}));
    }
    /// Pixel by pixel from the one or the other: something small in front of the page.
    bool isComposed() const { return nearest_ / count_ - 2 * noise_ < (1 - explained) * varianceX(); }

private:
    double covariance(double product, double u, double v) const { return (product - u * v / count_) / count_; }
    double varianceX() const { return covariance(xx_, x_, x_); }
    double varianceS() const { return covariance(ss_, s_, s_); }
    double varianceP() const { return covariance(pp_, p_, p_); }
    /// The variance of x that follows from s.
    double screen() const {
        const double xs = covariance(xs_, x_, s_), s = varianceS();
        return s > 1 ? xs * xs / s : 0;
    }
    bool follows(double variance) const { return variance > explained * (varianceX() - noise_); }

    const double noise_;
    double count_ = 0, edges_ = 0, nearest_ = 0;
    double x_ = 0, s_ = 0, p_ = 0, xx_ = 0, ss_ = 0, pp_ = 0, xs_ = 0, xp_ = 0, sp_ = 0;
};

} // namespace

bool standsStill(const ScreenBlock& block) {
    const Moments moments(block);
    return !moments.isEmpty() && !moments.isFlat() && moments.followsFromScreen();
}

bool mayBeBar(const ScreenBlock& block, bool shapeless) {
    const Moments moments(block);
    if (moments.isEmpty())
        return false;
    return (shapeless && moments.isShapeless()) || moments.followsFromBoth() || moments.isComposed();
}

} // namespace orbelquist
