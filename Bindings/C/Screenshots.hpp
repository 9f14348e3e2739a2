#pragma once

#include "Platform/CoreGraphics/CGImage.hpp"
#include "Platform/Dispatch/Mutex.hpp"
#include "Platform/Foundation/Calendar.hpp"
#include "Platform/ImageIO/DecodedImages.hpp"
#include "Velmorant/Alignment/Loader.hpp"

#include "Bindings/C/Error.hpp"

#include <atomic>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace bindings {

/// The screenshots of a run, and the run's `Loader`. Decodes them as their rows are asked for, and once where there is
/// memory for it, tells how many were read to their end, keeps the first error, and ends all reading once cancelled.
/// Screenshots are added while nothing reads.
class Screenshots final : public velmorant::Loader, public std::enable_shared_from_this<Screenshots> {
public:
    [[nodiscard]] std::expected<void, Error> addFile(const std::filesystem::path& file);
    void addPixels(platform::CGImage image);

    /// Item k's id is k in decimal digits.
    const std::vector<velmorant::StitchableItem>& items() const { return items_; }
    std::size_t indexOf(const velmorant::StitchableItem& item) const { return std::stoul(item.id); }

    /// When the first one that tells was taken.
    std::optional<platform::DateComponents> captureDate() const;

    // Any thread.

    void loadImage(const velmorant::StitchableItem& item, bool synchronous, const Completion& completion) override;

    /// Forgets the error and what was read.
    void begin();
    std::int64_t readCount() const { return readCount_; }
    std::optional<Error> error() const;

    /// Lets all reading of the work under way fail; without work under way nothing happens.
    void cancel();
    bool isCancelled() const { return state_ == State::cancelled; }
    void end() { state_ = State::idle; }

private:
    class Reader;
    class Rows;
    enum class State { idle, working, cancelled };

    struct Screenshot {
        std::string name; ///< for people
        platform::CGImage image;
        platform::ImageOrientation orientation;
        std::optional<platform::DateComponents> captureDate;
    };

    void add(Screenshot screenshot, velmorant::PixelSize size);
    void fail(const std::string& id, const platform::ImageError& error);

    std::vector<velmorant::StitchableItem> items_;
    std::vector<Screenshot> screenshots_;
    const std::shared_ptr<platform::DecodedImages> decoded_ = platform::DecodedImages::make(
        [this](const std::string& id, const platform::ImageError& error) { fail(id, error); });

    std::atomic<State> state_ = State::idle;
    std::atomic<std::int64_t> readCount_ = 0;
    mutable platform::Mutex mutex_;
    std::optional<Error> error_ VELMORANT_GUARDED_BY(mutex_);
};

} // namespace bindings
