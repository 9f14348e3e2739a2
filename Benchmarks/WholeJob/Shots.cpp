#include "Benchmarks/WholeJob/Shots.hpp"

#include "Platform/CoreGraphics/Resampler.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"

#include <png.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

namespace whole_job {

namespace fs = std::filesystem;
using platform::Bitmap;

namespace {

constexpr std::int64_t enlarged = 3, exampleTopBar = 92, exampleBottomBar = 72;

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

Shots makeShots(const fs::path& folder, int count, std::int64_t step) {
    const fs::path example = fs::path(VELMORANT_SOURCE_DIR) / "Examples" / "trip-chat";
    std::set<fs::path> files; // by name: from the top down
    for (const auto& entry : fs::directory_iterator(example))
        if (entry.path().extension() == ".png")
            files.insert(entry.path());
    std::vector<Bitmap> pages;
    for (const fs::path& file : files)
        pages.push_back(large(file));

    Shots shots{.step = step, .topBar = enlarged * exampleTopBar, .bottomBar = enlarged * exampleBottomBar};
    const std::int64_t inside = pages.front().height() - shots.topBar - shots.bottomBar; // of each example's shot
    fs::create_directories(folder);
    for (int i = 0; i < count; ++i) {
        Bitmap shot(shots.width, shots.height);
        for (std::int64_t y = 0; y < shots.height; ++y) {
            const std::int64_t fromBottom = shots.height - y;
            if (y < shots.topBar || fromBottom <= shots.bottomBar) {
                const Bitmap& bars = pages.front();
                std::memcpy(shot.row(y), bars.row(y < shots.topBar ? y : bars.height() - fromBottom), shot.stride());
                continue;
            }
            const std::int64_t row = i * step + y - shots.topBar, repetition = row / inside;
            const Bitmap& page = pages[static_cast<std::size_t>(repetition) % pages.size()];
            const std::uint8_t* from = page.row(shots.topBar + row % inside);
            const auto turned = 4 * static_cast<std::size_t>(37 * (repetition / std::ssize(pages)) % shots.width);
            std::memcpy(shot.row(y), from + turned, shot.stride() - turned);
            std::memcpy(shot.row(y) + shot.stride() - turned, from, turned);
        }
        const std::string number = std::to_string(1000 + i).substr(1);
        shots.files.push_back(folder / ("shot-" + number + ".png"));
        writePNG(shots.files.back(), shot);
    }
    return shots;
}

} // namespace whole_job
