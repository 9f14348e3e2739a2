#pragma once

#include <cstdint>

namespace platform {

/// What may be read and how much memory it may take. Checked before memory is taken.
struct ImageLimits {
    std::int64_t maxPixels = 200'000'000;
    std::int64_t maxMemory = 768'000'000;  ///< bytes of a picture that has to be decoded or encoded whole
    std::int64_t maxChunkBytes = 32 << 20; ///< a metadata chunk or a profile
    int maxJpegScans = 500;
};

} // namespace platform
