#include "Platform/ImageIO/RunDeflate.hpp"

#include <zlib.h>

#include <algorithm>

namespace platform::png {

struct RunDeflater::State {
    z_stream stream{};
    bool isMade = false;
};

RunDeflater::RunDeflater() : state_(std::make_unique<State>()) {
    constexpr int fastest = 1, mostMemory = 9;
    state_->isMade =
        deflateInit2(&state_->stream, fastest, Z_DEFLATED, -MAX_WBITS, mostMemory, Z_RLE) == Z_OK; // no zlib header
}

RunDeflater::~RunDeflater() {
    if (state_->isMade)
        deflateEnd(&state_->stream);
}

bool RunDeflater::deflate(std::span<const std::uint8_t> bytes, bool isLast, Deflated& result) {
    z_stream& stream = state_->stream;
    if (!state_->isMade || deflateReset(&stream) != Z_OK)
        return false;
    const std::size_t most = deflateBound(&stream, bytes.size()) + 16;
    result.memory.resize(std::max(result.memory.size(), most));
    stream.next_in = const_cast<std::uint8_t*>(bytes.data()); // read only
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = result.memory.data();
    stream.avail_out = static_cast<uInt>(most);
    const int status = ::deflate(&stream, isLast ? Z_FINISH : Z_FULL_FLUSH);
    result.size = stream.total_out;
    return status == (isLast ? Z_STREAM_END : Z_OK) && stream.avail_in == 0;
}

} // namespace platform::png
