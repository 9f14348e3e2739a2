#pragma once

#include "Benchmarks/WholeJob/Shots.hpp"

namespace whole_job {

// Ways to the same picture. Each does nothing but that: the process that calls it is timed whole.

/// The floor: our codecs, told where each screenshot lies. Decodes the rows that show, several files at once, and
/// encodes the picture.
void floorOf(const Shots& shots, const std::filesystem::path& picture);

/// What a C++ programmer would write in an afternoon: libpng, and the offset at which most rows have equal hashes.
void byRowHashes(const Shots& shots, const std::filesystem::path& picture);

} // namespace whole_job
