#include "Bindings/C/Run.hpp"

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/ThreadPool.hpp"
#include "Platform/Foundation/AtomicFile.hpp"
#include "Platform/ImageIO/CGImageDestination.hpp"
#include "Platform/ImageIO/FileEnding.hpp"
#include "Velmorant/Alignment/OpenCVAligner.hpp"
#include "Velmorant/Rendering/CoreImageRenderer.hpp"

#include <chrono>

namespace bindings {

using platform::ImageError;
using platform::MutexLock;
using velmorant::OpenCVAligner;
using namespace std::chrono_literals;

namespace {

/// By this, in the metadata, the program velmorant knows pictures that are joined already.
constexpr const char* softwareMark = "Velmorant";

constexpr auto tick = 50ms; ///< between two calls of a progress callback

class NoCache final : public velmorant::AlignerCache {
public:
    std::optional<velmorant::Alignment> alignment(const std::string&) const override { return std::nullopt; }
    void setAlignment(const std::string&, std::optional<velmorant::Alignment>) override {}
};

class NoLog final : public velmorant::LogStore {
public:
    void store(const Message&, velmorant::LogStoreType) override {}
};

/// Ends the work under way with its scope.
struct Work {
    explicit Work(Screenshots& screenshots) : screenshots(screenshots) { screenshots.begin(); }
    ~Work() { screenshots.end(); }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
    Screenshots& screenshots;
};

std::unexpected<Error> cancelled() {
    return std::unexpected(Error{VELMORANT_CANCELLED, "cancelled"});
}

std::unexpected<Error> wrongCall(std::string text) {
    return std::unexpected(Error{VELMORANT_WRONG_CALL, std::move(text)});
}

/// What the aligner found, for the thread that waits for it.
struct Answer {
    platform::Mutex mutex;
    platform::Condition arrived;
    std::optional<velmorant::Aligner::Result> result VELMORANT_GUARDED_BY(mutex);

    void set(velmorant::Aligner::Result of) {
        const MutexLock lock(mutex);
        result = std::move(of);
        arrived.notifyAll();
    }

    /// Nothing where none came within a tick.
    std::optional<velmorant::Aligner::Result> wait() {
        const platform::ThreadPool::Waiting waiting;
        const auto deadline = std::chrono::steady_clock::now() + tick;
        const MutexLock lock(mutex);
        while (!result && std::chrono::steady_clock::now() < deadline)
            arrived.waitUntil(mutex, deadline);
        return result;
    }
};

} // namespace

void Run::forget() {
    seams_.clear();
    alignment_.reset();
    picture_ = {};
}

Run::Done Run::addFile(const std::filesystem::path& file) {
    auto added = screenshots_->addFile(file);
    if (added)
        forget();
    return added;
}

void Run::addPixels(platform::CGImage image) {
    screenshots_->addPixels(std::move(image));
    forget();
}

Run::Done Run::align(const Progress& progress) {
    const auto total = std::ssize(screenshots_->items());
    if (total < 2)
        return wrongCall("there is nothing to align; add at least two screenshots");
    forget();
    const Work work(*screenshots_);
    std::vector<Seam> seams;
    OpenCVAligner aligner(screenshots_, std::make_shared<NoCache>(), std::make_shared<NoLog>(),
                          [&](const velmorant::Group&, OpenCVAligner::Pairs& pairs) {
                              for (const orbelquist::KSVPatternPair& pair : pairs)
                                  seams.push_back({pair.verdict, pair.verdict.description()});
                          });
    const auto answer = std::make_shared<Answer>();
    aligner.alignment(velmorant::Group(screenshots_->items()), platform::DispatchQueue::global(),
                      platform::DispatchWorkItemFlags::none,
                      [answer](velmorant::Aligner::Result result) { answer->set(std::move(result)); });
    std::optional<velmorant::Aligner::Result> result;
    while (!(result = answer->wait()))
        if (progress && !progress(screenshots_->readCount(), total))
            screenshots_->cancel();

    if (screenshots_->isCancelled())
        return cancelled();
    if (auto error = screenshots_->error())
        return std::unexpected(std::move(*error));
    seams_ = std::move(seams);
    if (!*result)
        return std::unexpected(
            Error{VELMORANT_NO_MATCH, "no two neighbours show the same rows; the first two: " + seams_.front().reason});
    if (progress)
        progress(total, total);
    picture_ = *velmorant::CoreImageRenderer(screenshots_).render(**result, false).ciImage();
    if (auto error = screenshots_->error())
        return std::unexpected(std::move(*error));
    format_ = platform::CIContext().format(picture_, picture_.extent());
    alignment_ = std::move(**result);
    return {};
}

Run::Done Run::draw(const platform::CIContext::BandHandler& handler, const std::function<Error(ImageError)>& failed) {
    const auto drawn = platform::CIContext().render(picture_, picture_.extent(), handler);
    if (screenshots_->isCancelled())
        return cancelled();
    if (auto error = screenshots_->error())
        return std::unexpected(std::move(*error));
    if (!drawn)
        return std::unexpected(failed(drawn.error()));
    return {};
}

Run::Done Run::render(const Bands& bands) {
    if (!alignment_)
        return wrongCall("there is no alignment to draw; align the run first");
    const Work work(*screenshots_);
    std::int64_t row = 0;
    return draw(
        [&](const std::uint8_t* rows, std::size_t stride, std::int64_t count) -> std::expected<void, ImageError> {
            if (screenshots_->isCancelled() || !bands(rows, stride, row, count))
                return std::unexpected(ImageError{ImageError::Code::cancelled, {}});
            row += count;
            return {};
        },
        [](const ImageError& error) { return readError("the picture", error); });
}

Run::Done Run::write(const std::filesystem::path& path, int quality, const Progress& progress) {
    if (!alignment_)
        return wrongCall("there is no alignment to draw; align the run first");
    const auto fileFormat = platform::formatByEnding(path);
    if (!fileFormat)
        return wrongCall(path.native() + ": name a file that ends with .png, .jpg, .webp, .avif, .jxl or .pdf");
    if (quality < 1 || quality > 100)
        return wrongCall("the quality is a number from 1 to 100");

    const Work work(*screenshots_);
    const auto failed = [&](const ImageError& error) { return writeError(path, error); };
    const auto systemError = [&](const std::error_code& error) {
        return std::unexpected(failed({ImageError::Code::writeFailed, error.message()}));
    };
    auto file = platform::AtomicFile::create(path, platform::AtomicFile::Existing::replace);
    if (!file)
        return systemError(file.error());
    const platform::ImageHeader header{.width = format_.width,
                                       .height = format_.height,
                                       .opaque = format_.opaque,
                                       .colorSpace = format_.colorSpace,
                                       .captureDate = screenshots_->captureDate(),
                                       .software = softwareMark};
    auto destination = platform::CGImageDestination::make(*fileFormat, *file, header, {.quality = quality});
    if (!destination)
        return std::unexpected(failed(destination.error()));
    std::int64_t row = 0;
    auto drawn = draw(
        [&](const std::uint8_t* rows, std::size_t stride, std::int64_t count) -> std::expected<void, ImageError> {
            if (screenshots_->isCancelled() || (progress && !progress(row, header.height)))
                return std::unexpected(ImageError{ImageError::Code::cancelled, {}});
            row += count;
            return (*destination)->write(rows, stride, count);
        },
        failed);
    if (!drawn)
        return drawn;
    if (auto finished = (*destination)->finish(); !finished)
        return std::unexpected(failed(finished.error()));
    if (auto committed = file->commit(); !committed)
        return systemError(committed.error());
    if (progress)
        progress(header.height, header.height);
    return {};
}

} // namespace bindings
