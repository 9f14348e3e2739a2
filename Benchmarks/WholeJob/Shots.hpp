#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace whole_job {

/// Screenshots of one page, each `step` rows further down than the one before it, and between the bars at its ends.
struct Shots {
    std::vector<std::filesystem::path> files;
    std::int64_t width = 1170, height = 2532, step = 0, topBar = 0, bottomBar = 0; ///< pixels

    std::int64_t pictureHeight() const { return height + step * (static_cast<std::int64_t>(files.size()) - 1); }
};

/// The screenshots of a page that `writeShots` writes into `folder`.
Shots shotsIn(const std::filesystem::path& folder, int count, std::int64_t step);

/// Writes the screenshots, as a telephone would: 8 bits, RGB, by libpng as it comes. The page is the
/// joined picture of the project's own example, three times as large and turned a little further at every repetition,
/// so that no part of it occurs twice.
void writeShots(const Shots& shots);

} // namespace whole_job
