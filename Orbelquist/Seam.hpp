#pragma once

#include "Orbelquist/KSVPattern.hpp"
#include "Orbelquist/Verification.hpp"

#include <cstdint>

namespace orbelquist {

/// A fade over more rows than this hides a seam no better.
inline constexpr std::int64_t seamRows = 24;

/// The pattern of a verified shift: its band is made of the first rows that are equal over their whole width, or else
/// agree within the frames' noise, as high up as they come, so that what hangs over the upper image (a button, a toast,
/// a bar) is covered by the lower one.
KSVPattern seamAt(const FramePair& pair, const Examination& verified);

} // namespace orbelquist
