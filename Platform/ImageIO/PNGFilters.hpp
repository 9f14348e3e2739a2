#pragma once

#include <cstddef>
#include <cstdint>

namespace platform::png {

/// How PNG stores a row: each byte less what its neighbours foretell. The numbers are those of the format.
enum class RowFilter : std::uint8_t { none, sub, up, average, paeth };

inline constexpr std::size_t rowFilterCount = 5;

/// Turns a row of `size` bytes back into values, in place. `above` holds the values of the row above, zeros above the
/// first. A pixel has `pixelBytes` bytes, 1 to 4, and the row has whole pixels. Reads one byte behind either row.
void unfilterRow(RowFilter filter, std::uint8_t* row, const std::uint8_t* above, std::size_t size,
                 std::size_t pixelBytes);

/// Writes `row` filtered into `result`, which overlaps neither row, and answers the sum of the results' distances from
/// 0 as signed bytes: the smaller, the better it compresses as a rule. `pixelBytes` is 3 or 4.
std::uint64_t filterRow(RowFilter filter, const std::uint8_t* row, const std::uint8_t* above, std::size_t size,
                        std::size_t pixelBytes, std::uint8_t* result);

} // namespace platform::png
