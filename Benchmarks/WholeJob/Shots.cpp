#include "Benchmarks/WholeJob/Shots.hpp"

#include "Platform/CoreGraphics/Resampler.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/JSONDecoder.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"

#include <png.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

namespace whole_job {

namespace fs = std::filesystem;
using platform::Bitmap;

namespace {

const fs::path example = fs::path(VELMORANT_SOURCE_DIR) / "Examples" / "trip-chat";
constexpr const char* firstShot = "Screenshot_20260301-101112.png";
constexpr std::int64_t enlarged = 3, topBar = enlarged * 92, bottomBar = enlarged * 72;

/// An example's screenshot as a telephone with more pixels would take it.
Bitmap large(const fs::path& file) {
    const auto shot = platform::CGImageSource::open(file)->image().decoded();
    const std::int64_t width = enlarged * shot->width(), height = enlarged * shot->height();
    Bitmap pixels(width, height);
    platform::Resampler resampler(
        shot->width(), shot->height(), width, height,
        [&](std::int64_t y, const std::uint8_t* row) { std::memcpy(pixels.row(y), row, pixels.stride()); });
    resampler.push(shot->pixels()->row(0), shot->pixels()->stride(), shot->height());
    return pixels;
}

/// All that the example's screenshots show between their bars, below each other.
Bitmap examplesPage() {
    std::map<std::int64_t, std::string> byOffset;
    if (!platform::json::decode(*platform::FileManager::contents(example / "truth.json"),
                                [&](const platform::JSONValue& truth) {
                                    for (const auto& [file, offset] : truth["offsets"].members())
                                        byOffset.emplace(enlarged * offset.integer(), file);
                                }))
        std::abort();
    std::vector<std::uint8_t> bytes;
    std::int64_t width = 0;
    for (auto shot = byOffset.begin(); shot != byOffset.end(); ++shot) {
        const Bitmap pixels = large(example / shot->second);
        const auto next = std::next(shot);
        const std::int64_t end =
            next != byOffset.end() ? topBar + next->first - shot->first : pixels.height() - bottomBar;
        bytes.insert(bytes.end(), pixels.row(topBar), pixels.row(end));
        width = pixels.width();
    }
    Bitmap page(width, std::ssize(bytes) / (4 * width));
    std::memcpy(page.row(0), bytes.data(), page.bytes().size());
    return page;
}

void writePNG(const fs::path& file, const Bitmap& pixels) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(pixels.width());
    image.height = static_cast<png_uint_32>(pixels.height());
    image.format = PNG_FORMAT_RGB;
    std::vector<std::uint8_t> rgb;
    rgb.reserve(static_cast<std::size_t>(3 * pixels.width() * pixels.height()));
    for (const std::uint8_t* pixel = pixels.bytes().data(); pixel < &*pixels.bytes().end(); pixel += 4)
        rgb.insert(rgb.end(), pixel, pixel + 3);
    if (!png_image_write_to_file(&image, file.c_str(), 0, rgb.data(), 0, nullptr))
        std::abort();
}

} // namespace

Shots shotsIn(const fs::path& folder, int count, std::int64_t step) {
    Shots shots{.files = {}, .step = step, .topBar = topBar, .bottomBar = bottomBar};
    for (int i = 0; i < count; ++i)
        shots.files.push_back(folder / ("shot-" + std::to_string(1000 + i).substr(1) + ".png"));
    return shots;
}

void writeShots(const Shots& shots) {
    const Bitmap page = examplesPage();
    const Bitmap bars = large(example / firstShot);
    std::int64_t top = 0; // of the page
    for (const fs::path& file : shots.files) {
        Bitmap shot(shots.width, shots.height);
        for (std::int64_t y = 0; y < shots.height; ++y) {
            const std::int64_t fromBottom = shots.height - y;
            if (y < shots.topBar || fromBottom <= shots.bottomBar) {
                std::memcpy(shot.row(y), bars.row(y < shots.topBar ? y : bars.height() - fromBottom), shot.stride());
                continue;
            }
            const std::int64_t row = top + y - shots.topBar;
            const auto turned = 4 * static_cast<std::size_t>(37 * (row / page.height()) % shots.width);
            const std::uint8_t* from = page.row(row % page.height());
            std::memcpy(shot.row(y), from + turned, shot.stride() - turned);
            std::memcpy(shot.row(y) + shot.stride() - turned, from, turned);
        }
        writePNG(file, shot);
        top += shots.step;
    }
}

} // namespace whole_job
