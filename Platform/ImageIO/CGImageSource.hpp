#pragma once

#include "Platform/CoreGraphics/CGImage.hpp"
#include "Platform/Foundation/Calendar.hpp"
#include "Platform/ImageIO/ImageLimits.hpp"
#include "Platform/UIKit/ImageOrientation.hpp"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace platform {

enum class ImageFormat { png, jpeg, webp, heif, avif, jxl, pdf };

/// What is known of an image file without decoding its pixels.
struct ImageProperties {
    ImageFormat format = ImageFormat::png;
    std::int64_t width = 0;  ///< in pixels, as stored
    std::int64_t height = 0; ///< in pixels, as stored
    bool opaque = false;     ///< the format or its header promises that there is no transparency
    ImageOrientation orientation = ImageOrientation::up;
    std::optional<DateComponents> captureDate; ///< from metadata; local time unless it says its zone
    std::string software;                      ///< from metadata; who wrote the file
    bool fromCamera = false;                   ///< metadata name a camera's exposure

    std::int64_t uprightWidth() const { return isQuarterTurn(orientation) ? height : width; }
    std::int64_t uprightHeight() const { return isQuarterTurn(orientation) ? width : height; }
};

/// An image file: its properties, and its pixels decoded on demand. The type is told by content, never by name. Only
/// regular files are opened, without blocking. Damaged metadata never fails a picture. A cheap handle; any thread.
class CGImageSource {
public:
    /// Reads the header and the metadata, not the pixels. The file is not kept open. Within the device's limits where
    /// none are given.
    [[nodiscard]] static std::expected<CGImageSource, ImageError> open(const std::filesystem::path& file);
    [[nodiscard]] static std::expected<CGImageSource, ImageError> open(const std::filesystem::path& file,
                                                                       const ImageLimits& limits);

    const ImageProperties& properties() const;

    /// The stored pixels, not turned. Every reader opens the file anew and fails with `changed` when it is another by
    /// then (device, inode, size, time).
    CGImage image() const;

private:
    struct State;
    class Rows;
    explicit CGImageSource(std::shared_ptr<const State> state) : state_(std::move(state)) {}
    std::shared_ptr<const State> state_;
};

/// `image`, turned so that it is shown upright without an orientation: itself for `up`, else a resident image.
[[nodiscard]] std::expected<CGImage, ImageError> uprightImage(const CGImage& image, ImageOrientation orientation);

} // namespace platform
