#include "Platform/ImageIO/PNGBand.hpp"

#include "Platform/CoreGraphics/Premultiplication.hpp"
#include "Platform/ImageIO/DeflateState.hpp"
#include "Platform/ImageIO/RunDeflate.hpp"
#include "Platform/ImageIO/SmallDeflate.hpp"

#include <algorithm>
#include <cstring>
#include <limits>

namespace platform::png {

namespace {

constexpr std::uint32_t fastLevel = 1, usualLevel = 2;
constexpr std::size_t deflaterBytes = std::max(ISAL_DEF_LVL1_MEDIUM, ISAL_DEF_LVL2_MEDIUM);
constexpr int smallLevel = 10;        // libdeflate's
constexpr std::size_t blankness = 64; // where ISA-L makes so many bytes one, there may be little but runs

constexpr RowFilter allFilters[] = {RowFilter::none, RowFilter::sub, RowFilter::up, RowFilter::average,
                                    RowFilter::paeth};
constexpr RowFilter quickFilters[] = {RowFilter::none, RowFilter::up};

/// Deflates all of `bytes` in one call: in pieces, the result would depend on where they are cut. A stream that does
/// not end is flushed to a whole byte, and what follows does not refer to it.
bool deflateAtOnce(std::span<const std::uint8_t> bytes, std::uint32_t level, int wrapper, bool isLast,
                   std::vector<std::uint8_t>& memory, Deflated& result) {
    memory.resize(deflaterBytes);
    const std::size_t most = bytes.size() + bytes.size() / 1000 + 1000; // a stored block is little more than its bytes
    result.memory.resize(std::max(result.memory.size(), most));
    DeflateState state;
    isal_zstream& stream = state.stream();
    isal_deflate_stateless_init(&stream);
    stream.hist_bits = 0; // left as it was
    stream.level = level;
    stream.level_buf = memory.data();
    stream.level_buf_size = static_cast<std::uint32_t>(memory.size());
    stream.gzip_flag = static_cast<std::uint16_t>(wrapper);
    stream.flush = isLast ? NO_FLUSH : FULL_FLUSH;
    stream.end_of_stream = isLast;
    stream.next_in = const_cast<std::uint8_t*>(bytes.data()); // read only
    stream.avail_in = static_cast<std::uint32_t>(bytes.size());
    stream.next_out = result.memory.data();
    stream.avail_out = static_cast<std::uint32_t>(most);
    const bool done = isal_deflate_stateless(&stream) == COMP_OK && stream.avail_in == 0;
    result.size = stream.total_out;
    return done;
}

} // namespace

Band::Band() = default;
Band::~Band() = default;

bool Band::make(const std::uint8_t* rows, std::size_t count, std::size_t width, bool opaque, bool isLast,
                EncodeEffort effort) {
    width_ = width;
    opaque_ = opaque;
    rowSize_ = 1 + width * (opaque ? 3 : 4);
    plain_.resize(rowSize_ * (1 + count));
    for (std::size_t row = 0; row <= count; ++row)
        pack(rows + row * 4 * width, plain_.data() + row * rowSize_);
    const bool isFast = effort == EncodeEffort::fast;
    filterRows(isFast ? std::span<const RowFilter>(quickFilters) : allFilters);

    const auto deflate = [&](std::span<const std::uint8_t> bytes, Deflated& result) {
        if (effort == EncodeEffort::small)
            return deflateSmall(bytes, smallLevel, isLast, result);
        return deflateAtOnce(bytes, isFast ? fastLevel : usualLevel, IGZIP_DEFLATE, isLast, deflater_, result);
    };
    const auto plain = std::span(plain_).subspan(rowSize_);
    if (!deflate(filtered_, deflatedFiltered_) || (!isFast && !deflate(plain, deflatedPlain_)))
        return false;
    smallest_ = isFast || deflatedFiltered_.size < deflatedPlain_.size ? &deflatedFiltered_ : &deflatedPlain_;
    if (effort == EncodeEffort::usual && blankness * smallest_->size < plain.size()) {
        if (!runDeflater_)
            runDeflater_ = std::make_unique<RunDeflater>();
        if (runDeflater_->deflate(filtered_, isLast, deflatedRuns_) && deflatedRuns_.size < smallest_->size)
            smallest_ = &deflatedRuns_;
    }
    checksum_ = isal_adler32(1, smallest_ == &deflatedPlain_ ? plain.data() : filtered_.data(), plain.size());
    return true;
}

void Band::pack(const std::uint8_t* pixels, std::uint8_t* row) const {
    *row++ = static_cast<std::uint8_t>(RowFilter::none);
    if (!opaque_) {
        unpremultiply(pixels, row, width_);
        return;
    }
    for (std::size_t x = 0; x < width_; ++x)
        std::memcpy(row + 3 * x, pixels + 4 * x, 3);
}

void Band::filterRows(std::span<const RowFilter> filters) {
    const std::size_t pixelBytes = opaque_ ? 3 : 4;
    candidate_.resize(rowSize_);
    best_.resize(rowSize_);
    filtered_.resize(plain_.size() - rowSize_);
    for (std::size_t at = 0; at < filtered_.size(); at += rowSize_) {
        const std::uint8_t* above = plain_.data() + at;
        std::uint64_t least = std::numeric_limits<std::uint64_t>::max();
        for (const RowFilter filter : filters) {
            candidate_[0] = static_cast<std::uint8_t>(filter);
            const auto sum =
                filterRow(filter, above + rowSize_ + 1, above + 1, rowSize_ - 1, pixelBytes, candidate_.data() + 1);
            if (sum < least) {
                least = sum;
                best_.swap(candidate_);
            }
            if (sum == 0)
                break; // nothing is smaller
        }
        std::memcpy(filtered_.data() + at, best_.data(), rowSize_);
    }
}

std::vector<std::byte> zlibStream(std::span<const std::byte> bytes) {
    std::vector<std::uint8_t> memory;
    Deflated result;
    if (!deflateAtOnce({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, usualLevel, IGZIP_ZLIB,
                       true, memory, result))
        return {};
    const auto stream = std::as_bytes(std::span(result.memory).first(result.size));
    return {stream.begin(), stream.end()};
}

std::uint32_t joinedChecksum(std::uint32_t first, std::uint32_t second, std::size_t secondSize) {
    // The lower half is 1 + the sum of all bytes, the upper one the sum of the lower halves after each byte (RFC 1950).
    constexpr std::uint64_t modulus = 65521;
    const std::uint64_t size = secondSize % modulus, sum = first & 0xffff;
    const std::uint64_t low = (sum + (second & 0xffff) + modulus - 1) % modulus;
    const std::uint64_t high = ((first >> 16) + (second >> 16) + size * (sum + modulus - 1)) % modulus;
    return static_cast<std::uint32_t>(high << 16 | low);
}

} // namespace platform::png
