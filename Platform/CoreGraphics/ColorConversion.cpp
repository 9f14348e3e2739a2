#include "Platform/CoreGraphics/ColorConversion.hpp"

#include "Platform/CoreGraphics/Premultiplication.hpp"

#include <lcms2.h>

#include <vector>

namespace platform {

namespace {

using Profile = std::unique_ptr<void, decltype([](cmsHPROFILE p) { cmsCloseProfile(p); })>;
using Transform = std::unique_ptr<void, decltype([](cmsHTRANSFORM t) { cmsDeleteTransform(t); })>;

Transform transformToSRGB(const CGColorSpace& space) {
    const auto bytes = space.profile();
    const Profile from(cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())));
    const Profile to(cmsCreate_sRGBProfile());
    if (!from || !to)
        return nullptr;
    return Transform(cmsCreateTransform(from.get(), TYPE_RGBA_8, to.get(), TYPE_RGBA_8, INTENT_RELATIVE_COLORIMETRIC,
                                        cmsFLAGS_BLACKPOINTCOMPENSATION | cmsFLAGS_COPY_ALPHA | cmsFLAGS_NOCACHE));
}

class ConvertingReader final : public RowReader {
public:
    ConvertingReader(std::unique_ptr<RowReader> rows, std::int64_t width, bool opaque, Transform transform)
        : rows_(std::move(rows)), width_(static_cast<std::size_t>(width)), opaque_(opaque),
          transform_(std::move(transform)) {}

    std::expected<void, ImageError> read(std::uint8_t* rows, std::size_t stride, std::int64_t count) override {
        auto result = rows_->read(rows, stride, count);
        for (; result && count > 0; --count, rows += stride) {
            if (!opaque_)
                unpremultiply(rows, rows, width_);
            cmsDoTransform(transform_.get(), rows, rows, static_cast<cmsUInt32Number>(width_));
            if (!opaque_)
                premultiply(rows, width_);
        }
        return result;
    }

    std::expected<void, ImageError> skip(std::int64_t count) override { return rows_->skip(count); }

private:
    const std::unique_ptr<RowReader> rows_;
    const std::size_t width_;
    const bool opaque_;
    const Transform transform_;
};

class ConvertedRows final : public RowSource {
public:
    explicit ConvertedRows(CGImage image) : image_(std::move(image)) {}

    std::int64_t width() const override { return image_.width(); }
    std::int64_t height() const override { return image_.height(); }
    bool opaque() const override { return image_.opaque(); }
    CGColorSpace colorSpace() const override { return CGColorSpace::sRGB(); }

    std::expected<std::unique_ptr<RowReader>, ImageError> reader() const override {
        auto rows = image_.reader();
        auto transform = transformToSRGB(image_.colorSpace());
        if (!rows || !transform)
            return rows;
        return std::make_unique<ConvertingReader>(std::move(*rows), width(), opaque(), std::move(transform));
    }

private:
    const CGImage image_;
};

} // namespace

CGImage convertedToSRGB(const CGImage& image) {
    return image.colorSpace().isSRGB() ? image : CGImage(std::make_shared<const ConvertedRows>(image));
}

} // namespace platform
