#pragma once

#include "Orbelquist/Kernels/BlockCounts.hpp"
#include "Orbelquist/Kernels/BlockSums.hpp"
#include "Orbelquist/Kernels/CompareCells.hpp"
#include "Orbelquist/Kernels/Edges.hpp"
#include "Orbelquist/Kernels/Luma.hpp"
#include "Orbelquist/Kernels/RowSummary.hpp"
#include "Orbelquist/Kernels/ScreenSums.hpp"
#include "Orbelquist/Kernels/SquaredDifference.hpp"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <numeric>
#include <vector>

/// The definitions that the fast kernels are held to, under the same names.
namespace orbelquist::plain {

inline void lumaOf(const std::uint8_t* rgba, std::span<std::uint8_t> luma) {
    for (std::size_t x = 0; x < luma.size(); ++x, rgba += 4)
        luma[x] = static_cast<std::uint8_t>((rgba[0] + 2 * rgba[1] + rgba[2]) >> 2);
}

inline void soften(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
                   std::span<std::uint8_t> result) {
    for (std::size_t x = 0; x < result.size(); ++x) {
        const auto down = [&](std::size_t at) { return above[at] + 2 * row[at] + below[at]; };
        const int sum = down(x - (x > 0)) + 2 * down(x) + down(std::min(x + 1, result.size() - 1));
        result[x] = static_cast<std::uint8_t>((sum + 8) / 16);
    }
}

inline RowSignature summarizeRow(std::span<const std::uint8_t> row, const BlockTotals& above, BlockTotals& below) {
    below = above;
    for (std::size_t k = 0; k < blocksAcross; ++k)
        for (std::size_t x = k * row.size() / blocksAcross; x < (k + 1) * row.size() / blocksAcross; ++x) {
            below.sum[k] += row[x];
            below.squares[k] += static_cast<std::uint32_t>(row[x] * row[x]);
        }
    RowSignature means = {};
    const std::size_t width = row.size();
    for (std::size_t cell = 0; cell < cellCount && width > 0; ++cell) {
        const std::size_t begin = cell * width / cellCount, end = std::max(begin + 1, (cell + 1) * width / cellCount);
        const auto sum = std::accumulate(row.begin() + static_cast<std::ptrdiff_t>(begin),
                                         row.begin() + static_cast<std::ptrdiff_t>(end), std::size_t{0});
        means[cell] = static_cast<std::uint8_t>((sum + (end - begin) / 2) / (end - begin));
    }
    return means;
}

inline CellMask equalCells(const RowSignature& a, const RowSignature& b, std::uint8_t tolerance) {
    CellMask equal = 0;
    for (std::size_t cell = 0; cell < cellCount; ++cell)
        equal |= CellMask{std::abs(a[cell] - b[cell]) <= tolerance} << cell;
    return equal;
}

inline int countDiffering(const RowSignature& a, const RowSignature& b, std::uint8_t tolerance, CellMask counted) {
    return std::popcount(~equalCells(a, b, tolerance) & counted);
}

inline void compareRows(const RowsView& a, const RowsView& b, std::uint8_t tolerance, std::span<RowAgreement> result) {
    for (std::size_t i = 0; i < result.size(); ++i) {
        const CellMask counted = ~(a.ignored[i] | b.ignored[i]);
        const CellMask equal = equalCells(a.signature[i], b.signature[i], tolerance);
        result[i] = {static_cast<std::int16_t>(std::popcount(equal & a.informed[i] & b.informed[i] & counted)),
                     static_cast<std::int16_t>(std::popcount(~equal & counted))};
    }
}

inline void compareShifts(const RowsView& still, const RowsView& moving, std::uint8_t tolerance,
                          std::span<const std::uint32_t> rows, std::span<const std::size_t> counts,
                          std::span<BestRows> result) {
    for (std::size_t s = 0; s < result.size(); ++s) {
        std::vector<RowAgreement> all(counts[s]);
        for (std::size_t k = 0; k < all.size(); ++k) {
            const std::size_t i = rows[k], j = i + s;
            plain::compareRows({still.signature + i, still.informed + i, still.ignored + i},
                               {moving.signature + j, moving.informed + j, moving.ignored + j}, tolerance,
                               std::span(all).subspan(k, 1));
        }
        BestRows best;
        for (std::size_t first = 0; first < all.size(); ++first) {
            best.overall = static_cast<std::int16_t>(best.overall + all[first].contradicting);
            int score = 0, contradicting = 0;
            for (std::size_t i = first; i < all.size(); ++i) {
                contradicting += all[i].contradicting;
                score += all[i].agreeing - 2 * all[i].contradicting;
                if (score <= 0)
                    break; // a stretch that begins later is as good
                if (score > best.score)
                    best = {static_cast<std::int16_t>(score), static_cast<std::int16_t>(contradicting), best.overall};
            }
        }
        result[s] = best;
    }
}

inline void markEdges(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
                      std::span<std::uint8_t> edges) {
    for (std::size_t x = 0; x < edges.size(); ++x) {
        const bool inner = x > 0 && x + 1 < edges.size();
        edges[x] =
            std::abs(above[x] - below[x]) > edgeLevels || (inner && std::abs(row[x - 1] - row[x + 1]) > edgeLevels);
    }
}

inline void addPixels(const std::uint8_t* a, const std::uint8_t* b, std::size_t stride, std::size_t columns,
                      std::size_t rows, PixelSums& sums) {
    for (std::size_t row = 0; row < rows; ++row)
        for (std::size_t x = row * stride; x < row * stride + columns; ++x) {
            const std::int64_t p = a[x], q = b[x];
            sums.a += a[x], sums.b += b[x];
            sums.aa += static_cast<std::uint64_t>(p * p), sums.bb += static_cast<std::uint64_t>(q * q);
            sums.difference += static_cast<std::uint64_t>((p - q) * (p - q));
            ++sums.count;
        }
}

inline std::uint64_t squaredDifference(const std::uint8_t* a, const std::uint8_t* b, std::size_t stride,
                                       std::size_t columns, std::size_t rows) {
    std::uint64_t sum = 0;
    for (std::size_t row = 0; row < rows; ++row)
        for (std::size_t x = row * stride; x < row * stride + columns; ++x)
            sum += static_cast<std::uint64_t>((a[x] - b[x]) * (a[x] - b[x]));
    return sum;
}

inline ScreenSums screenSums(const std::uint8_t* x, const std::uint8_t* s, const std::uint8_t* p, std::size_t stride,
                             std::size_t columns, std::size_t rows) {
    ScreenSums sums;
    for (std::size_t row = 0; row < rows; ++row)
        for (std::size_t i = row * stride; i < row * stride + columns; ++i) {
            const std::uint64_t u = x[i], v = s[i], w = p[i];
            const auto nearer = static_cast<std::uint64_t>(std::min(std::abs(x[i] - s[i]), std::abs(x[i] - p[i])));
            sums.x += u, sums.s += v, sums.p += w;
            sums.xx += u * u, sums.ss += v * v, sums.pp += w * w;
            sums.xs += u * v, sums.xp += u * w, sums.sp += v * w;
            sums.nearest += nearer * nearer;
        }
    return sums;
}

inline std::size_t countAtMost(const std::uint8_t* pixels, std::size_t stride, std::size_t columns, std::size_t rows,
                               std::uint8_t level) {
    std::size_t count = 0;
    for (std::size_t row = 0; row < rows; ++row)
        for (std::size_t x = row * stride; x < row * stride + columns; ++x)
            count += pixels[x] <= level;
    return count;
}

inline std::size_t countBeyond(const std::uint8_t* a, const std::uint8_t* b, std::size_t stride, std::size_t columns,
                               std::size_t rows, std::uint8_t tolerance) {
    std::size_t count = 0;
    for (std::size_t row = 0; row < rows; ++row)
        for (std::size_t x = row * stride; x < row * stride + columns; ++x)
            count += std::abs(a[x] - b[x]) > tolerance;
    return count;
}

} // namespace orbelquist::plain
