#include "Velmorant/Rendering/ImageHelpers.hpp"

namespace velmorant {

platform::CIImage ksv_ciImage(const platform::UIImage& image) {
    return image.ciImage() ? *image.ciImage() : platform::CIImage(*image.cgImage());
}

} // namespace velmorant
