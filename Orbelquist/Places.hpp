#pragma once

#include "Orbelquist/Verification.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace orbelquist {

/// The places that were examined on all pixels.
struct Places {
    std::vector<Examination> held, refused;
    std::optional<Examination> likeliest; ///< of those that do not hold by themselves
};

/// Examines what the signatures tell of all shifts. A place holds only where so many blocks agree.
Places examinePlaces(const FramePair& pair, std::int64_t leastAlike);

/// The rows of the screen within which shifts are one place: half a line of text.
std::int64_t strokeOf(const FramePair& pair);

} // namespace orbelquist
