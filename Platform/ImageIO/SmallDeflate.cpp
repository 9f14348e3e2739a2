#include "Platform/ImageIO/SmallDeflate.hpp"

#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

namespace platform::png {

namespace {

using Compressor =
    std::unique_ptr<libdeflate_compressor, decltype([](libdeflate_compressor* c) { libdeflate_free_compressor(c); })>;

/// Places in a deflate stream, in bits from its start. The first bit of a block says whether it is the last one.
struct LastBlock {
    std::size_t begin = 0, end = 0;
};

/// zlib stops at every block's end and says at which bit that is.
bool findLastBlock(std::span<std::uint8_t> stream, LastBlock& block) {
    z_stream inflater{};
    if (inflateInit2(&inflater, -MAX_WBITS) != Z_OK)
        return false;
    std::array<std::uint8_t, 1 << 15> inflated;
    inflater.next_in = stream.data();
    inflater.avail_in = static_cast<uInt>(stream.size());
    int status = Z_OK;
    for (block = {}; status == Z_OK;) {
        inflater.next_out = inflated.data();
        inflater.avail_out = static_cast<uInt>(inflated.size());
        status = inflate(&inflater, Z_BLOCK);
        constexpr int unusedBits = 63, atBlocksEnd = 128;
        if (inflater.data_type & atBlocksEnd) {
            block.begin = std::exchange(block.end, 8 * inflater.total_in -
                                                       static_cast<std::size_t>(inflater.data_type & unusedBits));
        }
    }
    inflateEnd(&inflater);
    return status == Z_STREAM_END;
}

/// The last block becomes one like the others, followed by an empty stored one, which ends on a whole byte.
bool leaveOpen(Deflated& stream) {
    LastBlock last;
    if (!findLastBlock(std::span(stream.memory).first(stream.size), last))
        return false;
    stream.memory[last.begin / 8] &= static_cast<std::uint8_t>(~(1u << last.begin % 8));
    constexpr std::size_t headerBits = 3;
    const std::size_t lengthsAt = (last.end + headerBits + 7) / 8; // the bits between are zeros
    constexpr std::uint8_t noBytes[] = {0, 0, 0xff, 0xff};
    stream.memory[lengthsAt - 1] = lengthsAt > stream.size ? 0 : stream.memory[lengthsAt - 1];
    std::ranges::copy(noBytes, stream.memory.begin() + static_cast<std::ptrdiff_t>(lengthsAt));
    stream.size = lengthsAt + sizeof noBytes;
    return true;
}

} // namespace

bool deflateSmall(std::span<const std::uint8_t> bytes, int level, bool isLast, Deflated& result) {
    const Compressor compressor(libdeflate_alloc_compressor(level));
    if (!compressor)
        return false;
    constexpr std::size_t emptyBlock = 5;
    const std::size_t most = libdeflate_deflate_compress_bound(compressor.get(), bytes.size());
    result.memory.resize(std::max(result.memory.size(), most + emptyBlock));
    result.size = libdeflate_deflate_compress(compressor.get(), bytes.data(), bytes.size(), result.memory.data(), most);
    return result.size > 0 && (isLast || leaveOpen(result));
}

} // namespace platform::png
