#include "Platform/UIKit/UIGraphicsImageContext.hpp"

#include "Platform/CoreGraphics/ColorConversion.hpp"
#include "Platform/CoreGraphics/Resampler.hpp"
#include "Platform/CoreImage/CIContext.hpp"
#include "Platform/CoreImage/QuietRows.hpp"
#include "Platform/Foundation/Device.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>

namespace platform {

namespace {

constexpr double mostPixels = 1 << 30;
constexpr std::int64_t rowsAtATime = 64;

/// Hands the upper `rows` of `image` to `take`.
template <class Take>
std::expected<void, ImageError> forEachBand(const CGImage& image, std::int64_t rows, const Take& take) {
    auto reader = image.reader();
    if (!reader)
        return std::unexpected(reader.error());
    Bitmap band(image.width(), std::min(rowsAtATime, rows));
    for (std::int64_t y = 0; y < rows; y += rowsAtATime) {
        const std::int64_t count = std::min(rowsAtATime, rows - y);
        if (auto read = (*reader)->read(band.row(0), band.stride(), count); !read)
            return read;
        take(band.row(0), band.stride(), count);
    }
    return {};
}

std::int64_t rounded(CGFloat value) {
    return std::llround(value);
}

} // namespace

std::expected<UIGraphicsImageContext, ImageError> UIGraphicsImageContext::make(const CGSize& size, bool opaque,
                                                                               CGFloat scale) {
    if (scale == 0)
        scale = Device::current().screenScale;
    const CGFloat width = std::max(0.0, size.width * scale), height = std::max(0.0, size.height * scale);
    if (!(width * height <= mostPixels))
        return std::unexpected(ImageError{ImageError::Code::tooLarge, "more than 2^30 pixels"});
    try {
        Bitmap pixels(rounded(width), rounded(height));
        const std::uint8_t first[4] = {0, 0, 0, static_cast<std::uint8_t>(opaque ? 255 : 0)};
        for (std::size_t i = 0; i < pixels.bytes().size(); i += 4)
            std::memcpy(pixels.bytes().data() + i, first, 4);
        return UIGraphicsImageContext(std::move(pixels), opaque, scale);
    } catch (const std::bad_alloc&) {
        return std::unexpected(ImageError{ImageError::Code::outOfMemory, {}});
    }
}

std::expected<void, ImageError> UIGraphicsImageContext::draw(const UIImage& image, const CGPoint& point,
                                                             CGFloat alpha) {
    return draw(image, {point, image.size()}, alpha);
}

std::expected<void, ImageError> UIGraphicsImageContext::draw(const UIImage& image, const CGRect& rect, CGFloat alpha) {
    const std::int64_t x = rounded(rect.minX() * scale_), y = rounded(rect.minY() * scale_);
    const std::int64_t width = rounded(rect.maxX() * scale_) - x, height = rounded(rect.maxY() * scale_) - y;
    const std::int64_t shownRows = std::min(height, pixels_.height() - y); // those below do not show
    if (width <= 0 || shownRows <= 0 || image.size().width <= 0 || image.size().height <= 0)
        return {};
    const auto weight = static_cast<std::uint32_t>(rounded(std::clamp(alpha, 0.0, 1.0) * 255));
    const auto drawScaled = [&](std::int64_t sourceWidth, std::int64_t sourceHeight) {
        return Resampler(
            sourceWidth, sourceHeight, width, height, shownRows,
            [=, this](std::int64_t row, const std::uint8_t* out) { drawRow(out, width, x, y + row, weight); });
    };

    if (image.ciImage() && image.imageOrientation() == ImageOrientation::up) { // never a bitmap of the whole
        const CGRect extent = image.ciImage()->extent();
        const CIContext context;
        const auto format = context.format(*image.ciImage(), extent);
        if (!space_ || *space_ == format.colorSpace) {
            space_ = format.colorSpace;
            Resampler resampler = drawScaled(format.width, format.height);
            return context.render(*image.ciImage(), rowsOf(extent, 0, resampler.sourceRows()),
                                  [&](const std::uint8_t* rows, std::size_t stride,
                                      std::int64_t count) -> std::expected<void, ImageError> {
                                      resampler.push(rows, stride, count);
                                      return {};
                                  });
        }
    }
    // Decoded smaller where that leaves twice as many pixels each way as will show: the resampler makes the rest.
    const bool isTurned = isQuarterTurn(image.imageOrientation());
    const std::int64_t across = 2 * (isTurned ? height : width), down = 2 * (isTurned ? width : height);
    auto bitmap = image.cgImage() ? std::expected<CGImage, ImageError>(image.cgImage()->reduced(across, down))
                                  : CIContext().createCGImage(*image.ciImage(), image.ciImage()->extent());
    if (bitmap)
        bitmap = uprightImage(*bitmap, image.imageOrientation());
    if (!bitmap)
        return std::unexpected(bitmap.error());
    const CGImage source = matched(*bitmap);
    Resampler resampler = drawScaled(source.width(), source.height());
    return forEachBand(
        source, resampler.sourceRows(),
        [&](const std::uint8_t* rows, std::size_t stride, std::int64_t count) { resampler.push(rows, stride, count); });
}

/// `image` in the colour space of what is there; where that is another, both become sRGB.
CGImage UIGraphicsImageContext::matched(const CGImage& image) {
    if (!space_ || *space_ == image.colorSpace()) {
        space_ = image.colorSpace();
        return image;
    }
    if (!space_->isSRGB()) {
        const std::int64_t width = pixels_.width(), height = pixels_.height();
        const CGImage former(std::exchange(pixels_, Bitmap(width, height)), opaque_, *space_);
        std::int64_t row = 0;
        std::ignore = forEachBand(convertedToSRGB(former), height,
                                  [&](const std::uint8_t* rows, std::size_t stride,
                                      std::int64_t count) { // resident: does not fail
                                      std::memcpy(pixels_.row(row), rows, stride * static_cast<std::size_t>(count));
                                      row += count;
                                  });
        space_ = CGColorSpace::sRGB();
    }
    return image.colorSpace().isSRGB() ? image : convertedToSRGB(image);
}

/// Over what is there: source + (1 - its alpha) * there, both premultiplied; `alpha` in 255ths.
void UIGraphicsImageContext::drawRow(const std::uint8_t* row, std::int64_t width, std::int64_t x, std::int64_t y,
                                     std::uint32_t alpha) {
    const std::int64_t from = std::max<std::int64_t>(0, -x), to = std::min(width, pixels_.width() - x);
    if (y < 0 || y >= pixels_.height())
        return;
    const std::uint8_t* source = row + 4 * from;
    std::uint8_t* there = pixels_.row(y) + 4 * (x + from);
    for (std::int64_t i = from; i < to; ++i, source += 4, there += 4) {
        const std::uint32_t over = 255 * 255 - source[3] * alpha;
        for (int channel = 0; channel < 4; ++channel) {
            const std::uint32_t sum = 255 * alpha * source[channel] + there[channel] * over;
            there[channel] = static_cast<std::uint8_t>((sum + 255 * 255 / 2) / (255 * 255));
        }
    }
}

UIImage UIGraphicsImageContext::image() && {
    return UIImage(CGImage(std::move(pixels_), opaque_, space_.value_or(CGColorSpace::sRGB())), scale_);
}

} // namespace platform
