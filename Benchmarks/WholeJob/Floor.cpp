#include "Benchmarks/WholeJob/Rivals.hpp"
#include "Platform/Dispatch/ThreadPool.hpp"
#include "Platform/Foundation/AtomicFile.hpp"
#include "Platform/ImageIO/CGImageDestination.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"

#include <algorithm>
#include <cstdlib>

namespace whole_job {

using platform::Bitmap;

/// As many files as there are cores are decoded at once, then written at once, in the same memory.
void floorOf(const Shots& shots, const std::filesystem::path& picture) {
    auto file = platform::AtomicFile::create(picture, platform::AtomicFile::Existing::replace);
    auto png = platform::CGImageDestination::make(
        platform::ImageFormat::png, *file, {.width = shots.width, .height = shots.pictureHeight(), .opaque = true});
    const std::size_t count = shots.files.size(), atOnce = platform::ThreadPool::shared().limit();
    std::vector<Bitmap> parts(std::min(count, atOnce));
    const auto rowsOf = [&](std::size_t i) { // each screenshot from below the bar at its top to where the next begins
        const std::int64_t from = i == 0 ? 0 : shots.topBar;
        return std::pair(from, i + 1 == count ? shots.height : shots.topBar + shots.step);
    };
    for (std::size_t first = 0; first < count; first += atOnce) {
        const std::size_t some = std::min(atOnce, count - first);
        platform::DispatchQueue::concurrentPerform(some, [&](std::size_t k) {
            const auto [from, to] = rowsOf(first + k);
            if (parts[k].height() < to - from)
                parts[k] = Bitmap(shots.width, shots.height);
            auto rows = *platform::CGImageSource::open(shots.files[first + k])->image().reader();
            if (!rows->skip(from) || !rows->read(parts[k].row(0), parts[k].stride(), to - from))
                std::abort();
        });
        for (std::size_t k = 0; k < some; ++k) {
            const auto [from, to] = rowsOf(first + k);
            if (!(*png)->write(parts[k].row(0), parts[k].stride(), to - from))
                std::abort();
        }
    }
    if (!(*png)->finish() || !file->commit())
        std::abort();
}

} // namespace whole_job
