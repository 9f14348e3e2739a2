#pragma once

#include "Orbelquist/KSVPattern.hpp"
#include "Platform/CoreImage/CIContext.hpp"
#include "Velmorant/Alignment/Alignment.hpp"

#include "Bindings/C/Screenshots.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace bindings {

/// What stands behind a velmorant_run: the same in C++.
class Run {
public:
    using Done = std::expected<void, Error>;
    /// Answers whether to go on.
    using Progress = std::function<bool(std::int64_t done, std::int64_t total)>;
    using Bands =
        std::function<bool(const std::uint8_t* rows, std::size_t stride, std::int64_t row, std::int64_t count)>;

    struct Seam {
        orbelquist::KSVVerdict verdict;
        std::string reason;
    };

    Done addFile(const std::filesystem::path& file);
    void addPixels(platform::CGImage image);
    Done align(const Progress& progress);
    /// Rows of RGBA8, premultiplied.
    Done render(const Bands& bands);
    Done write(const std::filesystem::path& file, int quality, const Progress& progress);
    void cancel() { screenshots_->cancel(); }

    const Screenshots& screenshots() const { return *screenshots_; }
    const std::vector<Seam>& seams() const { return seams_; }
    /// Nothing before one was found.
    const std::optional<velmorant::Alignment>& alignment() const { return alignment_; }
    /// Where there is an alignment.
    const platform::CIContext::Format& format() const { return format_; }

private:
    Done draw(const platform::CIContext::BandHandler& handler,
              const std::function<Error(platform::ImageError)>& failed);
    void forget();

    const std::shared_ptr<Screenshots> screenshots_ = std::make_shared<Screenshots>();
    std::vector<Seam> seams_;
    std::optional<velmorant::Alignment> alignment_;
    platform::CIImage picture_; ///< not drawn
    platform::CIContext::Format format_;
};

} // namespace bindings
