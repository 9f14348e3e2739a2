#pragma once

#include "Platform/CoreGraphics/CGImage.hpp"

#include <algorithm>
#include <memory>

namespace platform {

/// Rows of another image that keep count of what is asked of them, and end with an error behind `failAt` of them.
class CountingRows final : public RowSource {
public:
    struct Counts {
        int opened = 0, open = 0, mostOpen = 0;
        std::int64_t lastRow = 0, failAt = -1;
    };
    CountingRows(CGImage image, Counts& counts) : image_(std::move(image)), counts_(counts) {}
    std::int64_t width() const override { return image_.width(); }
    std::int64_t height() const override { return image_.height(); }
    bool opaque() const override { return image_.opaque(); }
    CGColorSpace colorSpace() const override { return image_.colorSpace(); }
    std::expected<std::unique_ptr<RowReader>, ImageError> reader() const override {
        struct Reader final : RowReader {
            Reader(std::unique_ptr<RowReader> of, Counts& kept) : rows(std::move(of)), counts(kept) {
                ++counts.opened;
                counts.mostOpen = std::max(counts.mostOpen, ++counts.open);
            }
            ~Reader() override { --counts.open; }
            std::expected<void, ImageError> read(std::uint8_t* to, std::size_t stride, std::int64_t count) override {
                counts.lastRow = std::max(counts.lastRow, row += count);
                if (counts.failAt >= 0 && row > counts.failAt)
                    return std::unexpected(ImageError{ImageError::Code::truncated, {}});
                return rows->read(to, stride, count);
            }
            std::expected<void, ImageError> skip(std::int64_t count) override {
                row += count;
                return rows->skip(count);
            }
            std::unique_ptr<RowReader> rows;
            Counts& counts;
            std::int64_t row = 0;
        };
        return std::make_unique<Reader>(*image_.reader(), counts_);
    }

private:
    const CGImage image_;
    Counts& counts_;
};

inline CGImage counted(CGImage image, CountingRows::Counts& counts) {
    return CGImage(std::make_shared<CountingRows>(std::move(image), counts));
}

} // namespace platform
