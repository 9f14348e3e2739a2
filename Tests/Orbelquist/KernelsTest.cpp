#include "Orbelquist/Kernels/InstructionSet.hpp"
#include "Orbelquist/Kernels/Plain.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace orbelquist {

namespace {

/// Bytes at an odd place, with more behind them that must stay as they are. Half of them near each other, so that
/// tolerances decide.
class Bytes {
public:
    Bytes(std::size_t size, std::mt19937& random, std::uint8_t most)
        : start_(random() % 64), size_(size), bytes_(start_ + size + 64) {
        for (std::uint8_t& byte : bytes_)
            byte = static_cast<std::uint8_t>(random() % 2 ? random() % 9 + 100 : random() % (most + 1u));
        if (most == 1)
            std::ranges::transform(bytes_, bytes_.begin(), [](std::uint8_t byte) { return byte & 1; });
    }
    std::uint8_t* data() { return bytes_.data() + start_; }
    std::span<std::uint8_t> span() { return {data(), size_}; }
    bool operator==(const Bytes&) const = default;

private:
    std::size_t start_, size_;
    std::vector<std::uint8_t> bytes_;
};

/// Runs `check` for every instruction set of this machine.
template <class Check>
void onEverySet(Check check) {
    const InstructionSet usual = instructionSet();
    for (const auto set : {InstructionSet::portable, InstructionSet::sse4, InstructionSet::avx2}) {
        if (!useInstructionSet(set))
            continue;
        SCOPED_TRACE(static_cast<int>(set));
        EXPECT_EQ(instructionSet(), set);
        check();
    }
    useInstructionSet(usual);
}

} // namespace

TEST(Kernels, CellsCompareAsThePlainOnesDo) {
    onEverySet([] {
        std::mt19937 random(1);
        for (std::size_t rows = 0; rows < 70; ++rows) {
            std::vector<RowSignature> a(rows), b(rows);
            std::vector<CellMask> masks[4];
            for (auto& mask : masks)
                for (std::size_t i = 0; i < rows; ++i)
                    mask.push_back((std::uint64_t{random()} << 32 | random()) &
                                   (std::uint64_t{random()} << 32 | random()));
            for (auto* signatures : {&a, &b})
                for (RowSignature& row : *signatures)
                    std::ranges::generate(
                        row, [&] { return static_cast<std::uint8_t>(random() % 2 ? random() % 12 : random()); });
            const RowsView viewA{a.data(), masks[0].data(), masks[1].data()},
                viewB{b.data(), masks[2].data(), masks[3].data()};
            for (const std::uint8_t tolerance : std::initializer_list<std::uint8_t>{0, 4, 150, 255}) {
                std::vector<RowAgreement> fastRows(rows), plainRows(rows);
                compareRows(viewA, viewB, tolerance, fastRows);
                plain::compareRows(viewA, viewB, tolerance, plainRows);
                EXPECT_EQ(fastRows, plainRows);
                for (std::size_t shifts = 0; shifts <= std::min(rows, shiftsAtOnce); shifts += 1 + shifts / 3) {
                    std::vector<std::uint32_t> some;
                    for (std::uint32_t row = 0; row < rows; row += 1 + static_cast<std::uint32_t>(random() % 5))
                        some.push_back(row);
                    std::vector<std::size_t> counts(shifts);
                    for (std::size_t s = 0; s < shifts; ++s)
                        counts[s] = static_cast<std::size_t>(std::ranges::lower_bound(some, rows - s) - some.begin());
                    std::vector<BestRows> fast(shifts), plain(shifts);
                    compareShifts(viewA, viewB, tolerance, some, counts, fast);
                    plain::compareShifts(viewA, viewB, tolerance, some, counts, plain);
                    EXPECT_EQ(fast, plain);
                }
                for (std::size_t i = 0; i < rows; ++i) {
                    EXPECT_EQ(equalCells(a[i], b[i], tolerance), plain::equalCells(a[i], b[i], tolerance));
                    EXPECT_EQ(countDiffering(a[i], b[i], tolerance, masks[0][i]),
                              plain::countDiffering(a[i], b[i], tolerance, masks[0][i]));
                }
            }
        }
    });
}

TEST(Kernels, MarkEdgesAsThePlainOneDoes) {
    onEverySet([] {
        std::mt19937 random(2);
        for (std::size_t width = 0; width < 300; ++width) {
            Bytes above(width, random, 255), row(width, random, 255), below(width, random, 255);
            Bytes fast(width, random, 1), plain = fast;
            markEdges(above.data(), row.data(), below.data(), fast.span());
            plain::markEdges(above.data(), row.data(), below.data(), plain.span());
            ASSERT_EQ(fast, plain) << width;
        }
    });
}

TEST(Kernels, PixelsAddUpAsThePlainOnesDo) {
    onEverySet([] {
        std::mt19937 random(3);
        for (std::size_t columns = 0; columns < 120; ++columns) {
            const std::size_t rows = random() % 7, stride = columns + 1 + random() % 5;
            Bytes a(rows * stride + 1, random, 255), b(rows * stride + 1, random, 255);
            PixelSums fast{.a = 7}, plain = fast;
            addPixels(a.data() + 1, b.data() + 1, stride, columns, rows, fast);
            plain::addPixels(a.data() + 1, b.data() + 1, stride, columns, rows, plain);
            ASSERT_EQ(fast, plain) << columns << " x " << rows;
            Bytes c(rows * stride + 1, random, 255);
            ASSERT_EQ(squaredDifference(a.data(), b.data(), stride, columns, rows),
                      plain::squaredDifference(a.data(), b.data(), stride, columns, rows))
                << columns << " x " << rows;
            ASSERT_EQ(screenSums(a.data(), b.data(), c.data(), stride, columns, rows),
                      plain::screenSums(a.data(), b.data(), c.data(), stride, columns, rows))
                << columns << " x " << rows;
            for (const std::uint8_t level : std::initializer_list<std::uint8_t>{0, 3, 104, 255}) {
                ASSERT_EQ(countAtMost(a.data(), stride, columns, rows, level),
                          plain::countAtMost(a.data(), stride, columns, rows, level))
                    << columns << " x " << rows;
                ASSERT_EQ(countBeyond(a.data(), b.data(), stride, columns, rows, level),
                          plain::countBeyond(a.data(), b.data(), stride, columns, rows, level))
                    << columns << " x " << rows;
            }
        }
    });
}

TEST(Kernels, SumsAreExactUpToTheirLimit) {
    onEverySet([] {
        constexpr std::size_t columns = 128, rows = mostPixelsAtOnce / columns, all = mostPixelsAtOnce;
        const std::vector<std::uint8_t> black(all, 0), white(all, 255);
        constexpr std::uint64_t sum = 255 * all, squares = 255 * sum;
        EXPECT_EQ(squaredDifference(black.data(), white.data(), columns, columns, rows), squares);
        EXPECT_EQ(squaredDifference(white.data(), black.data(), all, all, 1), squares);
        PixelSums sums;
        addPixels(white.data(), black.data(), columns, columns, rows, sums);
        EXPECT_EQ(sums, (PixelSums{.a = sum, .aa = squares, .difference = squares, .count = all}));
        const ScreenSums screen = screenSums(white.data(), white.data(), black.data(), columns, columns, rows);
        EXPECT_EQ(screen, (ScreenSums{.x = sum, .s = sum, .xx = squares, .ss = squares, .xs = squares}));
    });
}

TEST(Kernels, RowsAreSummarizedAsByThePlainOnes) {
    onEverySet([] {
        std::mt19937 random(4);
        for (std::size_t width = 0; width < 2200; width += 1 + width / 90) {
            Bytes row(width, random, 255);
            BlockTotals above, fast, plain;
            std::ranges::generate(above.squares, [&] { return static_cast<std::uint32_t>(random()); }); // wraps around
            ASSERT_EQ(summarizeRow(row.span(), above, fast), plain::summarizeRow(row.span(), above, plain)) << width;
            ASSERT_EQ(fast, plain) << width;
            Bytes rgba(4 * width, random, 255), luma(width, random, 255), plainLuma = luma;
            lumaOf(rgba.data(), luma.span());
            plain::lumaOf(rgba.data(), plainLuma.span());
            ASSERT_EQ(luma, plainLuma) << width;
            const std::uint8_t* rows = rgba.data();
            soften(rows, rows + width, rows + 2 * width, luma.span());
            plain::soften(rows, rows + width, rows + 2 * width, plainLuma.span());
            ASSERT_EQ(luma, plainLuma) << width;
        }
    });
}

} // namespace orbelquist
