#pragma once

#include "Orbelquist/Frame.hpp"

#include <optional>

namespace orbelquist {

/// By how much the second of two frames is brighter than the first, as a factor of their levels: a screen dims between two
/// shots, or fades. Told by the bars, which both show, else by the brightest parts. Nothing where it is the same, or where
/// too much else differs for brightness to be all.
std::optional<double> gainBetween(const Frame& a, const Frame& b);

/// The frame with all levels multiplied by `gain`, at most 1.
Frame dimmed(const Frame& frame, double gain);

} // namespace orbelquist
