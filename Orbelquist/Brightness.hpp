#pragma once

#include "Orbelquist/Frame.hpp"

#include <optional>

namespace orbelquist {

/// How the levels of one frame follow from those of another: a screen is dimmed between two shots, or fades.
struct Dimming {
    double factor = 1, offset = 0; ///< levels
};

/// How the second frame's levels follow from the first one's, told by the bars, which both show, else by the brightest
/// parts. Nothing where they are the same, or where too much else differs for brightness to be all.
std::optional<Dimming> dimmingBetween(const Frame& a, const Frame& b);

/// How the first one's follow from the second one's.
Dimming inverse(const Dimming& dimming);

/// Spreads the levels of two faint frames over all levels; nothing where they use half of them, or less than a quarter,
/// as blank pages do.
std::optional<Dimming> spreadingOf(const Frame& a, const Frame& b);

/// The frame with other levels.
Frame dimmed(const Frame& frame, const Dimming& dimming);

} // namespace orbelquist
