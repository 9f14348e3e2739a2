#include "Platform/ImageIO/PNG.hpp"

#include "Fuzz/MemoryFile.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>

// Pixels made of the input, written in steps and read back by both readers.

namespace platform::png {

namespace {

struct Sink final : ByteSink {
    std::vector<std::byte> bytes;
    std::expected<void, std::error_code> write(std::span<const std::byte> more) override {
        bytes.insert(bytes.end(), more.begin(), more.end());
        return {};
    }
};

void check(bool holds) {
    if (!holds)
        std::abort();
}

/// The input over and over, each row from another place of it; premultiplied.
Bitmap pixelsOf(std::int64_t width, std::int64_t height, bool opaque, std::size_t shift,
                std::span<const std::uint8_t> input) {
    Bitmap pixels(width, height);
    const auto stride = pixels.stride();
    for (std::int64_t y = 0; y < height; ++y) {
        std::uint8_t* row = pixels.row(y);
        for (std::size_t x = 0; x < stride; ++x)
            row[x] = input[(x + static_cast<std::size_t>(y) * shift) % input.size()];
        for (std::size_t x = 0; x < stride; x += 4) {
            row[x + 3] = opaque ? 255 : row[x + 3];
            for (std::size_t channel = 0; channel < 3; ++channel)
                row[x + channel] = std::min(row[x + channel], row[x + 3]);
        }
    }
    return pixels;
}

} // namespace

} // namespace platform::png

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace platform;
    std::array<std::uint8_t, 8> choice = {};
    if (size <= choice.size())
        return 0;
    std::memcpy(choice.data(), data, choice.size());
    const std::int64_t width = 1 + choice[0] + 256 * (choice[1] % 8);
    const std::int64_t pixelCount = choice[7] % 32 == 1 ? 400'000 : 10'000; // several bands now and then
    const std::int64_t height = std::min<std::int64_t>(1 + choice[2] + 256 * (choice[3] % 16), 1 + pixelCount / width);
    const bool opaque = choice[4] % 2 == 0;
    const std::int64_t step = 1 + choice[5];
    const Bitmap pixels = png::pixelsOf(width, height, opaque, choice[6], {data + choice.size(), size - choice.size()});

    png::Sink sink;
    auto destination = png::writer(sink, {.width = width, .height = height, .opaque = opaque}, {});
    png::check(destination.has_value());
    for (std::int64_t row = 0; row < height; row += step)
        png::check((*destination)->write(pixels.row(row), pixels.stride(), std::min(step, height - row)).has_value());
    png::check((*destination)->finish().has_value());

    const MemoryFile file(sink.bytes);
    const auto description = png::inspect(*InputFile::open(file.path()), {});
    png::check(description && description->properties.width == width && description->properties.height == height &&
               description->properties.opaque == opaque);
    auto input = *InputFile::open(file.path());
    const auto everyday = png::everydayReader(input, *description, {});
    const auto general = png::generalReader(*InputFile::open(file.path()), *description, {});
    png::check(everyday && general);
    for (RowReader* reader : {everyday.get(), general->get()}) {
        Bitmap back(width, height);
        png::check(reader->read(back.row(0), back.stride(), height).has_value());
        const auto near = [&](int a, int b) { return std::abs(a - b) <= (opaque ? 0 : 1); }; // rounded twice
        png::check(std::ranges::equal(back.bytes(), pixels.bytes(), near));
    }
    return 0;
}
