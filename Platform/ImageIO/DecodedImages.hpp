#pragma once

#include "Platform/CoreGraphics/CGImage.hpp"
#include "Platform/Dispatch/Mutex.hpp"

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

namespace platform {

/// Images that are decoded as their rows are asked for. What was decoded to its end is kept, as far as a budget goes,
/// until it is forgotten, so that images that fit are decoded once. Any thread.
class DecodedImages final : public std::enable_shared_from_this<DecodedImages> {
public:
    /// Hears of an image that cannot be opened, or proves bad while its rows are read; on the thread that reads.
    using Failed = std::function<void(const std::string& id, const ImageError& error)>;

    static std::shared_ptr<DecodedImages> make(Failed failed) {
        return std::shared_ptr<DecodedImages>(new DecodedImages(std::move(failed)));
    }

    /// In bytes: 56 MB, four screenshots of a telephone, or less where the device allows less for one picture.
    static std::int64_t budget();

    /// The image that is kept under `id`, else the one that `open` answers, to be kept under it once it is decoded.
    std::expected<CGImage, ImageError> image(const std::string& id,
                                             const std::function<std::expected<CGImage, ImageError>()>& open);

    void forget(const std::string& id);

private:
    class Reader;
    class Rows;

    struct Kept {
        std::int64_t bytes = 0;
        std::optional<CGImage> image; ///< nothing: its rows are being read
    };

    explicit DecodedImages(Failed failed) : failed_(std::move(failed)), left_(budget()) {}

    std::optional<CGImage> kept(const std::string& id) const;
    /// Takes memory for the image out of the budget; false where there is not enough, or the image is kept already.
    bool reserve(const std::string& id, const CGImage& image);
    void keep(const std::string& id, CGImage image);

    const Failed failed_;

    mutable Mutex mutex_;
    std::int64_t left_ VELMORANT_GUARDED_BY(mutex_); ///< bytes of the budget
    std::unordered_map<std::string, Kept> kept_ VELMORANT_GUARDED_BY(mutex_);
};

} // namespace platform
