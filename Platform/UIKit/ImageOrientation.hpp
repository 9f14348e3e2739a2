#pragma once

namespace platform {

/// How a stored image is turned to be shown, with the values of the EXIF orientation tag. The names say where the
/// stored image's top edge points: `right` is shown after a quarter turn clockwise.
enum class ImageOrientation {
    up = 1,
    upMirrored = 2,
    down = 3,
    downMirrored = 4,
    leftMirrored = 5,
    right = 6,
    rightMirrored = 7,
    left = 8,
};

/// Width and height change places.
constexpr bool isQuarterTurn(ImageOrientation orientation) {
    return orientation >= ImageOrientation::leftMirrored;
}

} // namespace platform
