#pragma once

#include "Platform/CoreGraphics/CGImage.hpp"
#include "Platform/CoreImage/CIImage.hpp"

#include <cstdint>
#include <expected>
#include <functional>
#include <string>

namespace host {

/// A picture that a page carries within itself.
struct PagePicture {
    std::string uri;                     ///< "data:image/jpeg;base64,…"
    std::int64_t width = 0, height = 0;  ///< in pixels
    std::int64_t firstRow = 0, rows = 0; ///< what it shows of the image that it was made of
};

/// `image`, scaled down to the width, what is transparent white. Its rows are read once, and only as many are held as
/// scaling needs.
[[nodiscard]] std::expected<PagePicture, platform::ImageError> pagePicture(const platform::CGImage& image,
                                                                           std::int64_t width);

/// Draws `recipe` once, band by band, scaled down to the width, and hands it over in tiles from top to bottom. Answers
/// a map: the whole of it squeezed into a slim picture of at most `mapHeight` rows. Memory does not grow with the
/// height.
[[nodiscard]] std::expected<PagePicture, platform::ImageError>
drawTiles(const platform::CIImage& recipe, std::int64_t width, std::int64_t mapHeight,
          const std::function<void(const PagePicture&)>& take);

} // namespace host
