#pragma once

#include "Orbelquist/Verification.hpp"

#include <cstdint>

namespace orbelquist {

/// Whether the rows that agree are found elsewhere in either frame, too: lines that occur twice pin nothing.
bool isRepeated(const FramePair& pair, const Examination& examination);

/// A page that moved by a few rows only still shows most of its strokes where they were: they look like furniture, and
/// what is left may fit elsewhere. So, with nothing but the bars left out of account, no shift by so few rows may
/// explain the frames better, over a quarter of the screen, but where what agrees here is as much and far cleaner.
bool mayHaveCrept(const FramePair& pair, const Examination& examination, std::int64_t few);

} // namespace orbelquist
