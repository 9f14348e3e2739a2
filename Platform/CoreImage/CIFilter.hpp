#pragma once

#include "Platform/CoreImage/CIImage.hpp"

namespace platform {

/// The mask's two ends: black keeps the background, white shows the input.
enum class CIColor { black, white };

/// "CILinearGradient", for points one above the other: color0 on and beyond inputPoint0, color1 on and beyond
/// inputPoint1, mixed linearly between them by the height of a pixel's centre. In rows counted downwards, from row lo
/// at inputPoint0 to row hi below it at inputPoint1, row r weighs (2 (r - lo) + 1) / (2 (hi - lo)), clamped to 0 … 1;
/// for lo = hi it steps from 0 above lo to 1 from lo on. Points lie on whole pixels, inputPoint0 not below inputPoint1.
struct CILinearGradient {
    CGPoint inputPoint0;
    CGPoint inputPoint1;
    CIColor inputColor0 = CIColor::black;
    CIColor inputColor1 = CIColor::white;

    CIImage outputImage() const;
};

/// "CIBlendWithMask": the background where the mask is black, the input where it is white, mixed linearly between. The
/// extent is that of both; where the input has no pixels the background shows, whatever the mask, and the other way
/// round where the background has none.
struct CIBlendWithMask {
    CIImage inputImage;
    CIImage inputBackgroundImage;
    CIImage inputMaskImage; ///< a gradient

    CIImage outputImage() const;
};

} // namespace platform
