#include "Orbelquist/Verification.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>

namespace orbelquist {

namespace {

constexpr int edgeLevels = 16;

bool isEdge(const Frame& f, std::int64_t y, std::int64_t x) {
    const std::uint8_t* p = f.row(y);
    const int h = x > 0 && x + 1 < f.width ? std::abs(p[x + 1] - p[x - 1]) : 0;
    const int v = y > 0 && y + 1 < f.height ? std::abs(p[x + f.width] - p[x - f.width]) : 0;
    return h > edgeLevels || v > edgeLevels;
}

struct CellCount {
    std::uint16_t agreeing = 0, contradicting = 0;
};

} // namespace

Examination examine(const FramePair& pair, const Stretch& stretch) {
    const Frame &a = pair.a(), &b = pair.b();
    const std::int64_t d = stretch.shift, W = a.width;
    Examination e;
    e.shift = d;
    e.first = stretch.first;
    e.last = stretch.last;
    // noise
    std::array<std::int64_t, 256> hist = {};
    std::int64_t total = 0;
    const auto& cells = pair.furniture().cells;
    const auto ign = [&](std::int64_t y) { return y < (std::int64_t)cells.size() ? cells[(size_t)y] : CellMask{0}; };
    for (std::int64_t r = stretch.first; r < stretch.last; ++r) {
        const CellMask counted = ~(ign(r) | ign(r + d));
        for (std::int64_t x = 0; x < W; x += 1) {
            if (!(counted >> (x * 64 / W) & 1))
                continue;
            if (isEdge(a, r + d, x) || isEdge(b, r, x)) {
                ++hist[(size_t)std::abs(a.row(r + d)[x] - b.row(r)[x])];
                ++total;
            }
        }
    }
    std::int64_t seen = 0;
    int median = 0;
    while (median < 255 && (seen += hist[(size_t)median]) * 2 < total)
        ++median;
    e.noise = median;
    const int T = std::min(48, 6 + 4 * median);
    e.tolerance = (std::uint8_t)T;

    const std::int64_t r0 = pair.firstRow(d), r1 = pair.lastRow(d);
    std::vector<std::array<CellCount, 64>> grid((size_t)(r1 - r0));
    std::vector<RowAgreement> rows((size_t)(r1 - r0));
    std::vector<std::int32_t> ag(rows.size()), co(rows.size());
    for (std::int64_t r = r0; r < r1; ++r) {
        const CellMask counted = ~(ign(r) | ign(r + d));
        auto& g = grid[(size_t)(r - r0)];
        const std::uint8_t *pa = a.row(r + d), *pb = b.row(r);
        for (std::int64_t x = 0; x < W; ++x) {
            const auto c = (size_t)(x * 64 / W);
            if (!(counted >> c & 1))
                continue;
            const int diff = std::abs(pa[x] - pb[x]);
            if (diff > T)
                ++g[c].contradicting;
            else if (isEdge(a, r + d, x) && isEdge(b, r, x))
                ++g[c].agreeing;
        }
        for (auto& c : g) {
            ag[(size_t)(r - r0)] += c.agreeing;
            co[(size_t)(r - r0)] += c.contradicting;
        }
    }
    // best stretch on pixels
    std::int64_t best = 0, cur = 0, s = r0, bs = r0, be = r0;
    for (std::int64_t r = r0; r < r1; ++r) {
        cur += ag[(size_t)(r - r0)] - 2 * co[(size_t)(r - r0)];
        if (cur <= 0) {
            cur = 0;
            s = r + 1;
        } else if (cur > best) {
            best = cur;
            bs = s;
            be = r + 1;
        }
    }
    e.first = bs;
    e.last = be;
    const std::int64_t H = std::min(a.height, b.height);
    const auto cellW = (double)W / 64;
    const auto conflicts = [&](std::int64_t r) {
        CellMask m = 0;
        for (size_t c = 0; c < 64; ++c)
            if (grid[(size_t)(r - r0)][c].contradicting >= 0.15 * cellW && grid[(size_t)(r - r0)][c].contradicting >= 2)
                m |= CellMask{1} << c;
        return m;
    };
    // inside
    std::int64_t spanFirst = -1, spanLast = -1;
    std::vector<std::int64_t> bad;
    for (std::int64_t r = bs; r < be; ++r) {
        e.agreeing += ag[(size_t)(r - r0)];
        e.contradicting += co[(size_t)(r - r0)];
        if (ag[(size_t)(r - r0)] >= cellW / 2)
            ++e.agreeingRows;
        const int n = std::popcount(conflicts(r));
        if (n > 0 && n <= 32)
            bad.push_back(r);
    }
    // forgive the window of H/12 rows with most bad rows
    const std::int64_t window = H / 12;
    size_t bestCount = 0;
    for (size_t i = 0, j = 0; i < bad.size(); ++i) {
        while (j < bad.size() && bad[j] < bad[i] + window)
            ++j;
        if (j - i > bestCount) {
            bestCount = j - i;
            spanFirst = bad[i];
            spanLast = bad[j - 1];
        }
    }
    e.conflictRows = (std::int64_t)(bad.size() - bestCount);
    e.overlayRows = bestCount ? spanLast - spanFirst + 1 : 0;
    // outside: rows that contradict must be a bar of the frame whose screen edge lies there
    const auto isBarRow = [&](const Frame& f, const Frame& g, std::int64_t y) {
        if (y <= 0 || y + 1 >= f.height || y + 1 >= g.height)
            return true;
        int stray = 0;
        for (std::int64_t x = 1; x + 1 < W; ++x) {
            if (!isEdge(f, y, x))
                continue;
            const std::uint8_t *p = f.row(y), *q = g.row(y);
            const int fh = p[x + 1] - p[x - 1], gh = q[x + 1] - q[x - 1], fv = p[x + W] - p[x - W],
                      gv = q[x + W] - q[x - W];
            const int err = std::max(std::abs(fh - gh), std::abs(fv - gv)), size = std::max(std::abs(fh), std::abs(fv));
            if (err * 2 > size + T)
                ++stray;
        }
        return stray <= (int)(cellW / 4);
    };
    for (std::int64_t r = r0; r < bs; ++r)
        if (conflicts(r)) {
            const bool bar = d > 0 ? isBarRow(b, a, r) : isBarRow(a, b, r + d);
            if (!bar)
                ++e.strayRows;
        }
    for (std::int64_t r = be; r < r1; ++r)
        if (conflicts(r)) {
            const bool bar = d > 0 ? isBarRow(a, b, r + d) : isBarRow(b, a, r);
            if (!bar)
                ++e.strayRows;
        }
    return e;
}

} // namespace orbelquist
