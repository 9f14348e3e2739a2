#pragma once

#include <cstdint>

namespace orbelquist {

/// A page of words: dark blocks on white, in lines. Deterministic for a seed; every line is another.
class Page {
public:
    explicit Page(unsigned seed, std::int64_t period = 0) : seed_(seed), period_(period) {}

    std::uint8_t luma(std::int64_t x, std::int64_t y) const {
        if (period_ > 0)
            y = (y % period_ + period_) % period_;
        const std::int64_t line = y / 20, inLine = y % 20;
        if (y < 0 || inLine < 4 || inLine > 15)
            return 255;
        std::uint64_t bits = seed_ * 0x9e3779b97f4a7c15u + static_cast<std::uint64_t>(line * 4096 + x / 3);
        bits = (bits ^ bits >> 31) * 0xbf58476d1ce4e5b9u; // as in splitmix64
        bits ^= bits >> 29;
        return bits % 3 == 0 ? static_cast<std::uint8_t>(bits >> 40) % 90 : 255;
    }

private:
    unsigned seed_;
    std::int64_t period_;
};

} // namespace orbelquist
