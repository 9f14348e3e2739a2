#include "Velmorant/Rendering/ImageHelpers.hpp"

#include "Platform/CoreImage/CIContext.hpp"
#include "Platform/UIKit/UIGraphicsImageContext.hpp"

#include <algorithm>

namespace velmorant {

using platform::CGImage;
using platform::UIImage;

namespace {

CGImage emptyBitmap() {
    return CGImage(platform::Bitmap(0, 0), false);
}

bool isOpaque(const UIImage& image) {
    return image.cgImage() ? image.cgImage()->opaque()
                           : platform::CIContext().format(*image.ciImage(), image.ciImage()->extent()).opaque;
}

} // namespace

platform::CIImage ksv_ciImage(const UIImage& image) {
    return image.ciImage() ? *image.ciImage() : platform::CIImage(*image.cgImage());
}

CGImage ksv_cgImage(const UIImage& image) {
    if (image.cgImage())
        return *image.cgImage();
    auto drawn = platform::CIContext().createCGImage(*image.ciImage(), image.ciImage()->extent());
    return drawn ? std::move(*drawn) : emptyBitmap();
}

std::optional<UIImage> ksv_uiImage(const platform::CIImage& from, double scale) {
    auto drawn = platform::CIContext().createCGImage(from, from.extent());
    return drawn ? std::optional(UIImage(std::move(*drawn), scale)) : std::nullopt;
}

UIImage ksv_resizing(const UIImage& image, const PixelSize& size) {
    return ksv_resizing(image, size, size.height);
}

UIImage ksv_resizing(const UIImage& image, const PixelSize& size, std::int64_t cutAt) {
    const PixelSize shown{size.width, std::min(size.height, cutAt), size.scale};
    auto context = platform::UIGraphicsImageContext::make(shown.cg(), isOpaque(image), static_cast<double>(size.scale));
    if (!context)
        return UIImage(emptyBitmap());
    std::ignore = context->draw(image, {{0, 0}, size.cg()}); // whoever delivered the image knows why it fails
    return std::move(*context).image();
}

UIImage ksv_cropping(const UIImage& image, const platform::CGRect& rect, std::int64_t scale) {
    auto cut = ksv_cgImage(image).cropped(rect);
    return UIImage(cut ? std::move(*cut) : emptyBitmap(), static_cast<double>(scale));
}

} // namespace velmorant
