#include "Host/Report/PagePictures.hpp"

#include "Host/Interrupt.hpp"
#include "Platform/CoreGraphics/Resampler.hpp"
#include "Platform/CoreImage/CIContext.hpp"
#include "Platform/ImageIO/CGImageDestination.hpp"

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

namespace host {

using platform::CGImageDestination;
using platform::ImageError;
using Done = std::expected<void, ImageError>;

namespace {

constexpr int quality = 70;
constexpr std::int64_t tileHeight = 1024, mapWidth = 40, bandHeight = 128;

/// RFC 4648.
class Base64 final : public platform::ByteSink {
public:
    std::expected<void, std::error_code> write(std::span<const std::byte> bytes) override {
        for (const std::byte byte : bytes) {
            bits_ = bits_ << 8 | std::to_integer<std::uint32_t>(byte);
            if (++count_ == 3)
                emit(4);
        }
        return {};
    }

    std::string text() && {
        if (count_ > 0) {
            const std::size_t missing = 3 - count_;
            bits_ <<= 8 * missing;
            emit(4 - missing);
            text_.append(missing, '=');
        }
        return std::move(text_);
    }

private:
    void emit(std::size_t characters) {
        constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        for (std::size_t i = 0; i < characters; ++i)
            text_.push_back(digits[bits_ >> (18 - 6 * i) & 63]);
        bits_ = 0;
        count_ = 0;
    }

    std::string text_ = "data:image/jpeg;base64,";
    std::uint32_t bits_ = 0;
    std::size_t count_ = 0; ///< bytes in `bits_`
};

/// Encodes one picture from its rows, over white.
class PictureEncoder {
public:
    PictureEncoder(std::int64_t width, std::int64_t height, const platform::CGColorSpace& space)
        : picture_{.uri = {}, .width = width, .height = height}, row_(static_cast<std::size_t>(4 * width)) {
        auto made = CGImageDestination::make(
            platform::ImageFormat::jpeg, base64_,
            {.width = width, .height = height, .opaque = true, .colorSpace = space, .captureDate = {}, .software = {}},
            {.quality = quality});
        if (made)
            destination_ = std::move(*made);
        else
            done_ = std::unexpected(made.error());
    }

    void write(const std::uint8_t* row) {
        for (std::size_t i = 0; i < row_.size(); ++i)
            row_[i] = static_cast<std::uint8_t>(row[i] + 255 - row[i | 3]);
        if (done_)
            done_ = destination_->write(row_.data(), row_.size(), 1);
    }

    std::expected<PagePicture, ImageError> finish() && {
        if (done_)
            done_ = destination_->finish();
        if (!done_)
            return std::unexpected(done_.error());
        picture_.uri = std::move(base64_).text();
        return std::move(picture_);
    }

private:
    PagePicture picture_;
    Base64 base64_;
    std::unique_ptr<CGImageDestination> destination_;
    Done done_;
    std::vector<std::uint8_t> row_;
};

std::int64_t scaledHeight(std::int64_t width, std::int64_t height, std::int64_t newWidth) {
    return std::max<std::int64_t>(1, (height * newWidth + width / 2) / width);
}

} // namespace

std::expected<PagePicture, ImageError> pagePicture(const platform::CGImage& whole, std::int64_t width) {
    const std::int64_t newWidth = std::min(width, whole.width());
    const std::int64_t newHeight = scaledHeight(whole.width(), whole.height(), newWidth);
    const platform::CGImage image = whole.reduced(2 * newWidth, 2 * newHeight);
    auto rows = image.reader();
    if (!rows)
        return std::unexpected(rows.error());
    PictureEncoder encoder(newWidth, newHeight, image.colorSpace());
    platform::Resampler resampler(image.width(), image.height(), newWidth, newHeight,
                                  [&](std::int64_t, const std::uint8_t* row) { encoder.write(row); });
    platform::Bitmap band(image.width(), std::min(bandHeight, image.height()));
    for (std::int64_t row = 0; row < image.height(); row += band.height()) {
        const std::int64_t count = std::min(band.height(), image.height() - row);
        if (auto read = (*rows)->read(band.row(0), band.stride(), count); !read)
            return std::unexpected(read.error());
        resampler.push(band.row(0), band.stride(), count);
    }
    auto picture = std::move(encoder).finish();
    if (picture)
        picture->rows = whole.height();
    return picture;
}

std::expected<PagePicture, ImageError> drawTiles(const platform::CIImage& recipe, std::int64_t width,
                                                 std::int64_t mapHeight,
                                                 const std::function<void(const PagePicture&)>& take) {
    const platform::CIContext context;
    const auto format = context.format(recipe, recipe.extent());
    const std::int64_t newWidth = std::min(width, format.width);
    const std::int64_t newHeight = scaledHeight(format.width, format.height, newWidth);
    const auto rowOf = [&](std::int64_t scaledRow) { return scaledRow * format.height / newHeight; };

    Done done;
    std::optional<PictureEncoder> tile;
    platform::Resampler scaled(
        format.width, format.height, newWidth, newHeight, [&](std::int64_t y, const std::uint8_t* row) {
            const std::int64_t top = y - y % tileHeight, end = std::min(top + tileHeight, newHeight);
            if (!tile)
                tile.emplace(newWidth, end - top, format.colorSpace);
            tile->write(row);
            if (y + 1 < end)
                return;
            auto picture = std::move(*tile).finish();
            tile.reset();
            if (!picture) {
                done = std::unexpected(picture.error());
                return;
            }
            picture->firstRow = rowOf(top);
            picture->rows = rowOf(end) - picture->firstRow;
            take(*picture);
        });
    PictureEncoder map(mapWidth, std::min(mapHeight, newHeight), format.colorSpace);
    platform::Resampler squeezed(format.width, format.height, mapWidth, std::min(mapHeight, newHeight),
                                 [&](std::int64_t, const std::uint8_t* row) { map.write(row); });

    const Done drawn = context.render(recipe, recipe.extent(),
                                      [&](const std::uint8_t* rows, std::size_t stride, std::int64_t count) -> Done {
                                          if (Interrupt::requested())
                                              return std::unexpected(ImageError{ImageError::Code::cancelled, {}});
                                          scaled.push(rows, stride, count);
                                          squeezed.push(rows, stride, count);
                                          return done;
                                      });
    if (!drawn)
        return std::unexpected(drawn.error());
    auto picture = std::move(map).finish();
    if (picture)
        picture->rows = format.height;
    return picture;
}

} // namespace host
