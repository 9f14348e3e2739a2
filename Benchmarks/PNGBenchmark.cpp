#include "Benchmarks/Libpng.hpp"
#include "Benchmarks/Timing.hpp"
#include "Platform/Foundation/ByteSink.hpp"
#include "Platform/ImageIO/CGImageDestination.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"

#include <benchmark/benchmark.h>
#include <png.h>
#include <spng.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <string>

// Screenshots read from a file and written to memory: by us, by libspng and by libpng, in turns within one iteration.
// "times_…" says how many times as long another takes as we do, "size_to_libpng" how large our file is beside libpng's
// usual one. The rivals give and take the same pixels in memory, theirs without a colour profile and metadata.

namespace platform {

namespace {

using Context = std::unique_ptr<spng_ctx, decltype([](spng_ctx* context) { spng_ctx_free(context); })>;

struct CountingSink final : ByteSink {
    std::size_t count = 0;
    std::expected<void, std::error_code> write(std::span<const std::byte> bytes) override {
        count += bytes.size();
        return {};
    }
};

double secondsOf(const std::function<bool()>& work, benchmark::State& state) {
    return ::secondsOf([&] {
        if (!work())
            state.SkipWithError("a codec failed");
    });
}

/// All screenshots of an example below each other: a chat without photos, or a page that JPEG has roughened.
Bitmap picture(std::int64_t kind) {
    const auto folder =
        std::filesystem::path(VELMORANT_SOURCE_DIR) / "Examples" / (kind == 0 ? "trip-chat" : "receipt");
    std::set<std::filesystem::path> files; // in order of their names
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().extension() != ".json")
            files.insert(entry.path());
    std::vector<CGImage> shots;
    std::int64_t height = 0;
    for (const auto& file : files) {
        shots.push_back(*CGImageSource::open(file)->image().decoded());
        height += shots.back().height();
    }
    Bitmap all(shots.front().width(), height);
    std::uint8_t* at = all.row(0);
    for (const CGImage& shot : shots)
        at = std::ranges::copy(shot.pixels()->bytes(), at).out;
    return all;
}

/// RGB without gaps, as the rivals want it.
std::vector<std::uint8_t> packed(const Bitmap& pixels) {
    std::vector<std::uint8_t> result(pixels.bytes().size() / 4 * 3);
    for (std::size_t i = 0; i < result.size() / 3; ++i)
        std::memcpy(result.data() + 3 * i, pixels.bytes().data() + 4 * i, 3);
    return result;
}

bool readWithSpng(const std::filesystem::path& file, Bitmap& into) {
    const Context context(spng_ctx_new(0));
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    return spng_set_png_buffer(context.get(), bytes.data(), bytes.size()) == 0 &&
           spng_decode_image(context.get(), into.row(0), into.bytes().size(), SPNG_FMT_RGBA8, 0) == 0;
}

/// Answers the file's size; 0 after an error.
std::size_t writeWithLibpng(const std::vector<std::uint8_t>& rgb, const Bitmap& size, std::vector<std::uint8_t>& into) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(size.width());
    image.height = static_cast<png_uint_32>(size.height());
    image.format = PNG_FORMAT_RGB;
    png_alloc_size_t count = into.size();
    return png_image_write_to_memory(&image, into.data(), &count, 0, rgb.data(), 0, nullptr) != 0 ? count : 0;
}

void readScreenshot(benchmark::State& state) {
    Bitmap pixels = picture(state.range(0));
    std::vector<std::uint8_t> bytes(2 * pixels.bytes().size());
    bytes.resize(writeWithLibpng(packed(pixels), pixels, bytes));
    const auto file = std::filesystem::temp_directory_path() / ("velmorant-benchmark-" + std::to_string(getpid()));
    std::ofstream(file, std::ios::binary).write(reinterpret_cast<char*>(bytes.data()), std::ssize(bytes));
    double ours = 0, spng = 0, libpng = 0;
    for (auto _ : state) {
        ours += secondsOf(
            [&] {
                const auto opened = CGImageSource::open(file);
                auto rows = opened->image().reader();
                return rows && (*rows)->read(pixels.row(0), pixels.stride(), pixels.height());
            },
            state);
        spng += secondsOf([&] { return readWithSpng(file, pixels); }, state);
        libpng += secondsOf([&] { return readWithLibpng(file, pixels); }, state);
    }
    std::filesystem::remove(file);
    const double megapixels = static_cast<double>(pixels.bytes().size()) / 4e6;
    state.counters["times_libspng"] = spng / ours;
    state.counters["times_libpng"] = libpng / ours;
    state.counters["ms_a_megapixel"] = 1000 * ours / static_cast<double>(state.iterations()) / megapixels;
}

bool writeWithSpng(const std::vector<std::uint8_t>& rgb, const Bitmap& size) {
    const Context context(spng_ctx_new(SPNG_CTX_ENCODER));
    spng_ihdr header = {};
    header.width = static_cast<std::uint32_t>(size.width());
    header.height = static_cast<std::uint32_t>(size.height());
    header.bit_depth = 8;
    header.color_type = SPNG_COLOR_TYPE_TRUECOLOR;
    spng_set_option(context.get(), SPNG_ENCODE_TO_BUFFER, 1);
    return spng_set_ihdr(context.get(), &header) == 0 &&
           spng_encode_image(context.get(), rgb.data(), rgb.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE) == 0;
}

void writeScreenshot(benchmark::State& state) {
    const Bitmap pixels = picture(state.range(0));
    const auto rgb = packed(pixels);
    std::vector<std::uint8_t> file(2 * rgb.size());
    double ours = 0, spng = 0, libpng = 0;
    std::size_t size = 0, libpngSize = 0;
    for (auto _ : state) {
        ours += secondsOf(
            [&] {
                CountingSink sink;
                auto destination = CGImageDestination::make(
                    ImageFormat::png, sink, {.width = pixels.width(), .height = pixels.height(), .opaque = true});
                const bool written = destination &&
                                     (*destination)->write(pixels.row(0), pixels.stride(), pixels.height()) &&
                                     (*destination)->finish();
                size = sink.count;
                return written;
            },
            state);
        spng += secondsOf([&] { return writeWithSpng(rgb, pixels); }, state);
        libpng += secondsOf([&] { return (libpngSize = writeWithLibpng(rgb, pixels, file)) > 0; }, state);
    }
    const double megapixels = static_cast<double>(pixels.bytes().size()) / 4e6;
    state.counters["times_libspng"] = spng / ours;
    state.counters["times_libpng"] = libpng / ours;
    state.counters["size_to_libpng"] = static_cast<double>(size) / static_cast<double>(libpngSize);
    state.counters["ms_a_megapixel"] = 1000 * ours / static_cast<double>(state.iterations()) / megapixels;
}

BENCHMARK(readScreenshot)->ArgName("rough")->DenseRange(0, 1)->Iterations(20)->Unit(benchmark::kMillisecond);
BENCHMARK(writeScreenshot)->ArgName("rough")->DenseRange(0, 1)->Iterations(5)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace platform
