#pragma once

#include <cstdint>

namespace platform {

/// Bits of `PHAsset::mediaSubtypes`. The values are stored.
struct PHAssetMediaSubtype {
    static constexpr std::int64_t none = 0;
    static constexpr std::int64_t screenshot = 4;
};

} // namespace platform
