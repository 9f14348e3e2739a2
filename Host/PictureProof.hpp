#pragma once

#include "Velmorant/Alignment/Alignment.hpp"
#include "Velmorant/Alignment/Loader.hpp"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <string>

namespace host {

/// Rows of a picture that was read back.
struct PictureProof {
    std::int64_t equal = 0;   ///< equal to their screenshot's, pixel for pixel
    std::int64_t blended = 0; ///< of two screenshots, so they were not compared
};

/// Reads the file `picture` back, which shows the rows `shown` of the alignment's canvas, lossless and unscaled, and
/// holds every row to the screenshot that shows there, outside the bands in which two are blended. An error, for
/// people, names the first row that differs. Any thread; memory for some rows.
std::expected<PictureProof, std::string> provePicture(const std::filesystem::path& picture,
                                                      const velmorant::Alignment& alignment,
                                                      const velmorant::RowRange& shown, velmorant::Loader& loader);

} // namespace host
