#include "Orbelquist/Frame.hpp"
#include "Orbelquist/PairMatcher.hpp"
#include "Platform/Foundation/AtomicFile.hpp"
#include "Platform/ImageIO/CGImageDestination.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Tests/Support/Page.hpp"
#include "Tests/Support/TestDevice.hpp"

#include <benchmark/benchmark.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

// What the matcher costs beside what nobody gets around: decoding the screenshots. All are timed in turns within one
// iteration, on one thread; the counter "of_decoding" is the matcher's share of it, for each screenshot one reading and
// one pair.

namespace orbelquist {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::int64_t width = 1170, height = 2532, bar = 140, scrolled = 1300;
constexpr int shots = 4;

double secondsOf(const std::function<void()>& work) {
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A phone's screen, three pixels a point: bars that stand still, and lines of words between them.
void writeScreen(const std::filesystem::path& file, const Page& page, std::int64_t top) {
    const Page bars(4711);
    platform::Bitmap pixels(width, height);
    for (std::int64_t y = 0; y < height; ++y)
        for (std::int64_t x = 0; x < width; ++x) {
            const bool isBar = y < bar || y >= height - bar;
            const std::uint8_t luma = isBar ? bars.luma(x / 3, y / 3) : page.luma(x / 3, (y + top) / 3);
            std::uint8_t* pixel = pixels.row(y) + 4 * x;
            pixel[0] = pixel[1] = luma, pixel[2] = static_cast<std::uint8_t>(luma / 2 + 127), pixel[3] = 255;
        }
    auto sink = platform::AtomicFile::create(file, platform::AtomicFile::Existing::replace);
    auto png = platform::CGImageDestination::make(platform::ImageFormat::png, *sink,
                                                  {.width = width, .height = height, .opaque = true});
    if (!(*png)->write(pixels.row(0), pixels.stride(), height) || !(*png)->finish() || !sink->commit())
        std::abort();
}

platform::Bitmap decode(const std::filesystem::path& file) {
    platform::Bitmap pixels(width, height);
    const auto reader = platform::CGImageSource::open(file)->image().reader();
    if (!(*reader)->read(pixels.row(0), pixels.stride(), height))
        std::abort();
    return pixels;
}

Frame frameOf(const platform::Bitmap& pixels) {
    FrameBuilder builder(width, height);
    builder.add(pixels.row(0), pixels.stride(), height);
    return builder.finish();
}

/// `state.range(0)`: whether each screenshot is of a page of its own, so that nothing matches.
void matching(benchmark::State& state) {
    const platform::TemporaryFolder folder;
    std::vector<std::filesystem::path> files;
    for (int i = 0; i < shots; ++i) {
        files.push_back(folder / std::to_string(i));
        writeScreen(files.back(), Page(state.range(0) != 0 ? static_cast<unsigned>(i) : 0), i * scrolled);
    }
    double decoding = 0, reading = 0, matching = 0;
    for (auto _ : state) {
        std::vector<Frame> frames;
        for (const auto& file : files) {
            std::optional<platform::Bitmap> pixels;
            decoding += secondsOf([&] { pixels = decode(file); });
            reading += secondsOf([&] { frames.push_back(frameOf(*pixels)); });
        }
        for (std::size_t i = 1; i < frames.size(); ++i) {
            KSVPatternPair pair;
            matching += secondsOf([&] { pair = matchFrames(frames[i - 1], frames[i]); });
            if (pair.positive.valid() == (state.range(0) != 0))
                state.SkipWithError("the wrong answer");
        }
    }
    const auto runs = static_cast<double>(state.iterations());
    decoding /= runs * shots, reading /= runs * shots, matching /= runs * (shots - 1);
    state.counters["decoding_ms"] = 1000 * decoding;
    state.counters["reading_ms"] = 1000 * reading;
    state.counters["pair_ms"] = 1000 * matching;
    state.counters["of_decoding"] = (reading + matching) / decoding;
}

BENCHMARK(matching)->ArgName("strangers")->Arg(0)->Arg(1)->Iterations(20)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace orbelquist
