#pragma once

#include "Platform/ImageIO/CGImageDestination.hpp"
#include "Platform/ImageIO/PNGFilters.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace platform::png {

/// Deflated bytes, in memory that stays as large as it was ever needed.
struct Deflated {
    std::vector<std::uint8_t> memory;
    std::size_t size = 0;
};

class RunDeflater;

/// Rows of the picture that are filtered and deflated by themselves, so that bands can be made side by side. Put one
/// after another they are one deflate stream. Keeps its memory from band to band.
class Band {
public:
    Band();
    ~Band();
    Band(const Band&) = delete;
    Band& operator=(const Band&) = delete;

    /// Makes the band of `count` rows. `rows` holds them without gaps, RGBA8, premultiplied, and before them the row
    /// above, zeros where there is none. Opaque pixels are stored without alpha, others straight. `isLast` ends the
    /// stream. The same rows give the same bytes. False where the deflater fails.
    bool make(const std::uint8_t* rows, std::size_t count, std::size_t width, bool opaque, bool isLast,
              EncodeEffort effort = EncodeEffort::usual);

    std::span<const std::byte> deflated() const {
        return std::as_bytes(std::span(smallest_->memory).first(smallest_->size));
    }
    std::size_t inflatedSize() const { return plain_.size() - rowSize_; }
    std::uint32_t checksum() const { return checksum_; } ///< Adler-32 of what it inflates to

private:
    void pack(const std::uint8_t* pixels, std::uint8_t* row) const;
    void filterRows(std::span<const RowFilter> filters);

    std::size_t width_ = 0;
    bool opaque_ = false;
    std::size_t rowSize_ = 0; ///< with the filter

    std::vector<std::uint8_t> plain_;    ///< the row above and then those of the band, without filters
    std::vector<std::uint8_t> filtered_; ///< each row by the filter that suits it best
    std::vector<std::uint8_t> candidate_, best_;
    std::vector<std::uint8_t> deflater_;       ///< memory that the deflater works in
    std::unique_ptr<RunDeflater> runDeflater_; ///< once it was needed
    Deflated deflatedPlain_, deflatedFiltered_, deflatedRuns_;
    const Deflated* smallest_ = &deflatedPlain_; ///< of these
    std::uint32_t checksum_ = 1;
};

/// A zlib stream of its own.
std::vector<std::byte> zlibStream(std::span<const std::byte> bytes);

/// The Adler-32 of two runs of bytes, one behind the other, from theirs.
std::uint32_t joinedChecksum(std::uint32_t first, std::uint32_t second, std::size_t secondSize);

} // namespace platform::png
