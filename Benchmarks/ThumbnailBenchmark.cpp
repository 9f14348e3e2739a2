#include "Benchmarks/Timing.hpp"
#include "Benchmarks/WholeJob/Shots.hpp"
#include "Platform/Foundation/AtomicFile.hpp"
#include "Platform/ImageIO/CGImageDestination.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Platform/UIKit/UIGraphicsImageContext.hpp"
#include "Tests/Support/TestDevice.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>

// The thumbnail of a screenshot in JPEG, from the file: decoded smaller, as the program does it, and decoded whole, in
// turns within one iteration. "times_whole" says how many times as long the latter takes.

namespace platform {

namespace {

void writeJPEG(const std::filesystem::path& file, const CGImage& shot) {
    auto sink = AtomicFile::create(file, AtomicFile::Existing::replace);
    auto jpeg = CGImageDestination::make(ImageFormat::jpeg, *sink,
                                         {.width = shot.width(), .height = shot.height(), .opaque = true});
    if (!(*jpeg)->write(shot.pixels()->row(0), shot.pixels()->stride(), shot.height()) || !(*jpeg)->finish() ||
        !sink->commit())
        std::abort();
}

void drawThumbnail(const CGImage& image, std::int64_t width, benchmark::State& state) {
    const CGRect rect{
        .size = {static_cast<CGFloat>(width), static_cast<CGFloat>(width * image.height() / image.width())}};
    auto context = UIGraphicsImageContext::make(rect.size, true, 1);
    if (!context || !context->draw(UIImage(image), rect))
        state.SkipWithError("a thumbnail could not be drawn");
}

/// `state.range(0)`: pixels across.
void thumbnail(benchmark::State& state) {
    const TemporaryFolder folder;
    const auto shots = whole_job::shotsIn(folder.path(), 1, 0);
    whole_job::writeShots(shots);
    const auto file = folder / "shot.jpg";
    writeJPEG(file, *CGImageSource::open(shots.files[0])->image().decoded());
    double ours = 0, whole = 0;
    for (auto _ : state) {
        ours += secondsOf([&] { drawThumbnail(CGImageSource::open(file)->image(), state.range(0), state); });
        whole +=
            secondsOf([&] { drawThumbnail(*CGImageSource::open(file)->image().decoded(), state.range(0), state); });
    }
    state.counters["ours_ms"] = 1000 * ours / static_cast<double>(state.iterations());
    state.counters["times_whole"] = whole / ours;
}

BENCHMARK(thumbnail)->ArgName("width")->Arg(120)->Arg(256)->Iterations(20)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace platform
