#include "Host/PictureProof.hpp"

#include "Host/ImageErrorMessage.hpp"
#include "Host/Message.hpp"
#include "Platform/CoreGraphics/ColorConversion.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Velmorant/Rendering/ImageHelpers.hpp"
#include "Velmorant/Rendering/PictureRows.hpp"

#include <cstring>
#include <limits>
#include <map>
#include <utility>

namespace host {

using platform::CGImage;
using platform::ImageError;
using velmorant::PictureRows;
using velmorant::RowRange;
using Done = std::expected<void, ImageError>;

namespace {

/// Rows are compared this many at a time.
constexpr std::int64_t rowsAtOnce = 64;

/// An image that is read from the top down, not every row of it.
class Rows {
public:
    static std::expected<Rows, ImageError> of(const CGImage& image) {
        auto reader = image.reader();
        if (!reader)
            return std::unexpected(reader.error());
        return Rows(std::move(*reader), image);
    }

    /// Up to `rowsAtOnce` rows from `first` on, which never decreases.
    std::expected<const platform::Bitmap*, ImageError> read(std::int64_t first, std::int64_t count) {
        Done done = first > next_ ? reader_->skip(first - next_) : Done();
        if (done)
            done = reader_->read(pixels_.row(0), pixels_.stride(), count);
        if (!done)
            return std::unexpected(done.error());
        next_ = first + count;
        return &pixels_;
    }

    bool isOver() const { return next_ >= height_; }

private:
    Rows(std::unique_ptr<platform::RowReader> reader, const CGImage& image)
        : reader_(std::move(reader)), height_(image.height()), pixels_(image.width(), rowsAtOnce) {}

    std::unique_ptr<platform::RowReader> reader_;
    std::int64_t height_, next_ = 0;
    platform::Bitmap pixels_;
};

class Comparison {
public:
    Comparison(const std::filesystem::path& file, CGImage picture, velmorant::Loader& loader)
        : file_(file), picture_(std::move(picture)), loader_(loader) {}

    std::expected<PictureProof, std::string> hold(const std::vector<PictureRows>& parts) {
        auto rows = Rows::of(picture_);
        if (!rows)
            return std::unexpected(imageErrorMessage(file_, rows.error()));
        PictureProof proof;
        for (const PictureRows& part : parts) {
            const std::int64_t count = part.rows.upper - part.rows.lower;
            if (part.sources.size() > 1) {
                proof.blended += count;
                continue;
            }
            for (std::int64_t done = 0; done < count; done += rowsAtOnce)
                if (auto held = hold(*rows, part, done, std::min(rowsAtOnce, count - done)); !held)
                    return std::unexpected(held.error());
            proof.equal += count;
            std::erase_if(screenshots_, [](const auto& screenshot) { return screenshot.second.isOver(); });
        }
        return proof;
    }

private:
    std::expected<void, std::string> hold(Rows& picture, const PictureRows& part, std::int64_t from,
                                          std::int64_t count) {
        const std::int64_t row = part.rows.lower + from;
        const auto shown = picture.read(row, count);
        if (!shown)
            return std::unexpected(imageErrorMessage(file_, shown.error()));
        const auto expected = part.sources.empty() ? std::expected<const platform::Bitmap*, ImageError>(nullptr)
                                                   : source(part.sources.front(), from, count);
        if (!expected)
            return std::unexpected(message("the screenshot behind row {} could not be read again", {text(row)}));
        for (std::int64_t i = 0; i < count; ++i)
            if (!equalRows(**shown, *expected, i))
                return std::unexpected(message("{}: row {} is not what its screenshot shows; please report this",
                                               {host::shown(file_), text(row + i)}));
        return {};
    }

    std::expected<const platform::Bitmap*, ImageError> source(const PictureRows::Source& source, std::int64_t from,
                                                              std::int64_t count) {
        auto found = screenshots_.find(source.item.id);
        if (found == screenshots_.end()) {
            std::expected<Rows, ImageError> rows = std::unexpected(ImageError{ImageError::Code::missing, {}});
            loader_.loadImage(source.item, true, [&](const std::optional<platform::UIImage>& image) {
                if (image)
                    rows = Rows::of(inPicturesColors(velmorant::ksv_cgImage(*image)));
            });
            if (!rows)
                return std::unexpected(rows.error());
            found = screenshots_.emplace(source.item.id, std::move(*rows)).first;
        }
        return found->second.read(source.rows.lower + from, count);
    }

    CGImage inPicturesColors(const CGImage& image) const {
        return image.colorSpace() == picture_.colorSpace() ? image : platform::convertedToSRGB(image);
    }

    static bool equalRows(const platform::Bitmap& shown, const platform::Bitmap* expected, std::int64_t row) {
        if (expected)
            return std::memcmp(shown.row(row), expected->row(row), shown.stride()) == 0;
        const auto* bytes = shown.row(row);
        return std::all_of(bytes, bytes + shown.stride(), [](std::uint8_t byte) { return byte == 0; });
    }

    static std::string text(std::int64_t number) { return std::to_string(number); }

    const std::filesystem::path& file_;
    const CGImage picture_;
    velmorant::Loader& loader_;
    std::map<std::string, Rows> screenshots_; ///< by the item's id, those that are being read
};

} // namespace

std::expected<PictureProof, std::string> provePicture(const std::filesystem::path& picture,
                                                      const velmorant::Alignment& alignment, const RowRange& shown,
                                                      velmorant::Loader& loader) {
    const auto file = platform::CGImageSource::open(picture, {.maxPixels = std::numeric_limits<std::int64_t>::max()});
    if (!file)
        return std::unexpected(imageErrorMessage(picture, file.error()));
    if (file->properties().width != alignment.size().width || file->properties().height != shown.upper - shown.lower)
        return std::unexpected(
            message("{}: the file has another size than the picture; please report this", {host::shown(picture)}));
    return Comparison(picture, file->image(), loader).hold(pictureRows(alignment, shown));
}

} // namespace host
