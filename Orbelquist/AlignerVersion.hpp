#pragma once

#include <cstdint>

namespace orbelquist {

/// Raised with every change of an answer, so that alignments made of earlier ones are not used any more.
inline constexpr std::int64_t alignerVersion = 15;

} // namespace orbelquist
