#include "Orbelquist/Kernels/RowSummary.hpp"

#include <algorithm>
#include <array>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Orbelquist/Kernels/RowSummary.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orbelquist::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

namespace {

constexpr std::size_t mostLanes = 32;

/// Loaded from `mostLanes` less the lanes, plus n, on: a mask of the last n lanes.
constexpr auto lastLanes = [] {
    std::array<std::uint8_t, 2 * mostLanes> lanes = {};
    std::fill(lanes.begin() + mostLanes, lanes.end(), std::uint8_t{255});
    return lanes;
}();

void summarizeRow(std::span<const std::uint8_t> row, const BlockTotals& above, BlockTotals& below,
                  RowSignature& means) {
    const hn::CappedTag<std::uint8_t, mostLanes> d;
    const hn::Repartition<std::int16_t, decltype(d)> halves;
    const hn::Repartition<std::int32_t, decltype(d)> words;
    const hn::Repartition<std::uint64_t, decltype(d)> wide;
    const std::size_t width = row.size(), lanes = hn::Lanes(d);
    // Sums are divided by the number of pixels, one of two, by its inverse: exact for cells of up to 2^18.
    constexpr int inverseBits = 44;
    const std::size_t least = std::max<std::size_t>(1, width / cellCount);
    const std::uint64_t inverses[] = {(std::uint64_t{1} << inverseBits) / least + 1,
                                      (std::uint64_t{1} << inverseBits) / (least + 1) + 1};
    for (std::size_t block = 0; block < blocksAcross; ++block) {
        auto squares = hn::Zero(words), odd = squares; // where the instruction set parts them
        std::uint32_t blockSum = 0;
        for (std::size_t cell = 2 * block; cell < 2 * block + 2; ++cell) {
            const std::size_t begin = cell * width / cellCount, end = (cell + 1) * width / cellCount;
            auto sums = hn::Zero(wide);
            const auto add = [&](auto pixels) {
                sums = hn::Add(sums, hn::SumsOf8(pixels));
                const auto addSquares = [&](auto levels) {
                    squares = hn::ReorderWidenMulAccumulate(words, levels, levels, squares, odd);
                };
#if HWY_TARGET == HWY_SCALAR
                addSquares(hn::PromoteTo(halves, pixels));
#else
                addSquares(hn::BitCast(halves, hn::InterleaveLower(d, pixels, hn::Zero(d))));
                addSquares(hn::BitCast(halves, hn::InterleaveUpper(d, pixels, hn::Zero(d))));
#endif
            };
            std::size_t x = end;
            for (; x - begin >= lanes; x -= lanes)
                add(hn::LoadU(d, row.data() + x - lanes));
            if (const std::size_t rest = x - begin;
                rest > 0 && x >= lanes) { // with some before them, which do not count
                add(hn::And(hn::LoadU(d, row.data() + x - lanes),
                            hn::LoadU(d, lastLanes.data() + mostLanes - lanes + rest)));
            } else if (rest > 0) {
                HWY_ALIGN std::uint8_t first[mostLanes] = {};
                std::memcpy(first, row.data() + begin, rest);
                add(hn::Load(d, first));
            }
            const auto sum = static_cast<std::uint32_t>(hn::GetLane(hn::SumOfLanes(wide, sums)));
            blockSum += sum;
            const std::size_t count = end - begin;
            if (count > 0)
                means[cell] = static_cast<std::uint8_t>((sum + count / 2) * inverses[count - least] >> inverseBits);
            else
                means[cell] = width > 0 ? row[begin] : std::uint8_t{0};
        }
        below.sum[block] = above.sum[block] + blockSum;
        below.squares[block] = above.squares[block] +
                               static_cast<std::uint32_t>(hn::GetLane(hn::SumOfLanes(words, hn::Add(squares, odd))));
    }
}

} // namespace

} // namespace orbelquist::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "Orbelquist/Kernels/Dispatch-inl.hpp"

namespace orbelquist {

RowSignature summarizeRow(std::span<const std::uint8_t> row, const BlockTotals& above, BlockTotals& below) {
    RowSignature means;
    ORBELQUIST_DISPATCH(summarizeRow)(row, above, below, means);
    return means;
}

} // namespace orbelquist
#endif
