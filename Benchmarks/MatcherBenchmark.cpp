#include "Benchmarks/Libpng.hpp"
#include "Benchmarks/Timing.hpp"
#include "Benchmarks/WholeJob/Shots.hpp"
#include "Orbelquist/Frame.hpp"
#include "Orbelquist/PairMatcher.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Tests/Support/TestDevice.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <vector>

// What the matcher costs beside what nobody gets around: decoding the screenshots. All are timed in turns within one
// iteration, on one thread, the reading as it is done, of a few rows as soon as they are decoded; the counters
// "of_libpng" and "of_decoding" are the matcher's share of the time of libpng and of our own decoder, for each
// screenshot one reading and one pair.

namespace orbelquist {

namespace {

constexpr int shots = 4;
constexpr std::int64_t rowsAtATime = 16;

/// With its memory touched, for whoever decodes into it first.
platform::Bitmap bitmapFor(const platform::CGImage& image) {
    platform::Bitmap pixels(image.width(), image.height());
    std::ranges::fill(pixels.bytes(), std::uint8_t{255});
    return pixels;
}

/// `state.range(0)`: whether nothing matches, because there are some screens between each two screenshots.
void matching(benchmark::State& state) {
    const platform::TemporaryFolder folder;
    const auto run = whole_job::shotsIn(folder.path(), shots, state.range(0) != 0 ? 5000 : 1300);
    whole_job::writeShots(run);
    double libpng = 0, decoding = 0, reading = 0, matching = 0;
    for (auto _ : state) {
        std::vector<Frame> frames;
        for (const auto& file : run.files) {
            const platform::CGImage image = platform::CGImageSource::open(file)->image();
            platform::Bitmap pixels = bitmapFor(image);
            auto reader = *image.reader();
            FrameBuilder builder(image.width(), image.height());
            for (std::int64_t row = 0; row < image.height(); row += rowsAtATime) {
                const std::int64_t count = std::min(rowsAtATime, image.height() - row);
                decoding += secondsOf([&] {
                    if (!reader->read(pixels.row(0), pixels.stride(), count))
                        state.SkipWithError("our decoder failed");
                });
                reading += secondsOf([&] { builder.add(pixels.row(0), pixels.stride(), count); });
            }
            reading += secondsOf([&] { frames.push_back(builder.finish()); });
            libpng += secondsOf([&] {
                if (!platform::readWithLibpng(file, pixels))
                    state.SkipWithError("libpng failed");
            });
        }
        for (std::size_t i = 1; i < frames.size(); ++i) {
            KSVPatternPair pair;
            matching += secondsOf([&] { pair = matchFrames(frames[i - 1], frames[i]); });
            if (pair.positive.valid() == (state.range(0) != 0))
                state.SkipWithError("the wrong answer");
        }
    }
    const auto runs = static_cast<double>(state.iterations());
    libpng /= runs * shots, decoding /= runs * shots, reading /= runs * shots, matching /= runs * (shots - 1);
    state.counters["decoding_ms"] = 1000 * decoding;
    state.counters["reading_ms"] = 1000 * reading;
    state.counters["pair_ms"] = 1000 * matching;
    state.counters["libpng_ms"] = 1000 * libpng;
    state.counters["of_libpng"] = (reading + matching) / libpng;
    state.counters["of_decoding"] = (reading + matching) / decoding;
}

BENCHMARK(matching)->ArgName("strangers")->Arg(0)->Arg(1)->Iterations(20)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace orbelquist
