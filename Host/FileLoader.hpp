#pragma once

#include "Host/ImageFiles.hpp"
#include "Platform/CoreGraphics/CGImage.hpp"
#include "Platform/Dispatch/Mutex.hpp"
#include "Velmorant/Alignment/Loader.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace host {

/// The host's `Loader`: images of files, decoded as their rows are asked for. What was decoded once is kept, as far as
/// a budget goes, until it is forgotten, so that a run that fits is decoded once. Tells the source of files that prove
/// bad. Any thread.
class FileLoader final : public velmorant::Loader, public std::enable_shared_from_this<FileLoader> {
public:
    static std::shared_ptr<FileLoader> make(std::shared_ptr<ImageFiles> files) {
        return std::shared_ptr<FileLoader>(new FileLoader(std::move(files), budget()));
    }

    /// Decoded images are kept in so many bytes: 56 MB, four screenshots of a telephone, or less where the device allows less for one picture.
    static std::int64_t budget();

    void loadImage(const velmorant::StitchableItem& item, bool synchronous, const Completion& completion) override;

    /// Lets go of what is kept of these.
    void forget(const std::vector<velmorant::StitchableItem>& items);

private:
    class Reader;
    class Rows;

    FileLoader(std::shared_ptr<ImageFiles> files, std::int64_t budget) : files_(std::move(files)), left_(budget) {}

    /// Takes memory for a whole image out of the budget; false where there is not enough, or the image is kept already.
    bool reserve(const std::string& id, std::int64_t bytes);
    void keep(const std::string& id, platform::CGImage image);
    void release(const std::string& id);

    struct Kept {
        std::int64_t bytes = 0;
        std::optional<platform::CGImage> image; ///< nothing: its rows are being read
    };

    const std::shared_ptr<ImageFiles> files_;

    platform::Mutex mutex_;
    std::int64_t left_ VELMORANT_GUARDED_BY(mutex_); ///< bytes of the budget
    std::unordered_map<std::string, Kept> kept_ VELMORANT_GUARDED_BY(mutex_);
};

} // namespace host
