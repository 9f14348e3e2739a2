#include "Benchmarks/WholeJob/Rivals.hpp"

#include <png.h>

#include <cstdlib>
#include <map>
#include <string_view>
#include <unordered_map>

namespace whole_job {

namespace {

struct Pixels {
    std::int64_t width = 0, height = 0;
    std::vector<std::uint8_t> rgb;

    std::size_t rowBytes() const { return static_cast<std::size_t>(3 * width); }
    std::size_t hashOf(std::int64_t y) const {
        const auto* row = reinterpret_cast<const char*>(rgb.data()) + rowBytes() * static_cast<std::size_t>(y);
        return std::hash<std::string_view>()({row, rowBytes()});
    }
};

Pixels decode(const std::filesystem::path& file) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, file.c_str()))
        std::abort();
    image.format = PNG_FORMAT_RGB;
    Pixels pixels{image.width, image.height, {}};
    pixels.rgb.resize(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, pixels.rgb.data(), 0, nullptr))
        std::abort();
    return pixels;
}

/// The shift at which most rows of the lower screenshot are found in the upper one.
std::int64_t offsetOf(const Pixels& upper, const Pixels& lower) {
    std::unordered_map<std::size_t, std::int64_t> places;
    for (std::int64_t y = 0; y < upper.height; ++y)
        places.insert_or_assign(upper.hashOf(y), y);
    std::map<std::int64_t, int> votes;
    for (std::int64_t y = 0; y < lower.height; ++y)
        if (const auto found = places.find(lower.hashOf(y)); found != places.end() && found->second > y)
            ++votes[found->second - y];
    std::int64_t best = 0;
    int most = 0;
    for (const auto& [offset, count] : votes)
        if (count > most)
            best = offset, most = count;
    return best;
}

} // namespace

void byRowHashes(const Shots& shots, const std::filesystem::path& picture) {
    std::vector<Pixels> pages;
    for (const auto& file : shots.files)
        pages.push_back(decode(file));
    Pixels joined = pages.front();
    joined.height -= shots.bottomBar;
    for (std::size_t i = 1; i < pages.size(); ++i) {
        const std::int64_t fresh = offsetOf(pages[i - 1], pages[i]);
        const bool isLast = i + 1 == pages.size();
        const std::int64_t to = pages[i].height - (isLast ? 0 : shots.bottomBar);
        const std::int64_t from = pages[i].height - shots.bottomBar - fresh;
        joined.rgb.resize(joined.rowBytes() * static_cast<std::size_t>(joined.height));
        joined.rgb.insert(joined.rgb.end(), pages[i].rgb.begin() + from * 3 * joined.width,
                          pages[i].rgb.begin() + to * 3 * joined.width);
        joined.height += to - from;
    }
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(joined.width);
    image.height = static_cast<png_uint_32>(joined.height);
    image.format = PNG_FORMAT_RGB;
    if (!png_image_write_to_file(&image, picture.c_str(), 0, joined.rgb.data(), 0, nullptr))
        std::abort();
}

} // namespace whole_job
