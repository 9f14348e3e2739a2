#include "Benchmarks/Timing.hpp"
#include "Platform/CoreImage/ImageExport.hpp"
#include "Platform/Dispatch/MainLoop.hpp"
#include "Platform/Foundation/AtomicFile.hpp"
#include "Tests/Support/TestLibrary.hpp"
#include "Velmorant/Curation/AddManuallyGroupedStep.hpp"
#include "Velmorant/Curation/IgnoreInAppScreenshotsStep.hpp"
#include "Velmorant/Curation/IgnoreUserDeletedStep.hpp"
#include "Velmorant/DataSources/PhotosStitchableDataSource.hpp"
#include "Velmorant/Pipeline/Pipeline.hpp"
#include "Velmorant/Pipeline/Steps/AddPrestitchedStep.hpp"
#include "Velmorant/Pipeline/Steps/Grouper.hpp"
#include "Velmorant/Pipeline/Steps/IgnoreEmptyOrSingleStep.hpp"
#include "Velmorant/Pipeline/Steps/SortGroupsStep.hpp"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

// A large photo library against what cannot be avoided: the bare SQLite query of the same rows, sorting the items, and
// copying the same files with flushes. Both sides of each ratio are timed in one iteration.

namespace velmorant {

namespace {

struct Silence final : LogStore {
    void store(const Message&, LogStoreType) override {}
};

/// A library of so many screenshots, in runs of five.
class LargeLibrary {
public:
    explicit LargeLibrary(std::int64_t count) {
        platform::addScreenshot(0, 1);
        SQLite::Database database(catalogue(), SQLite::OPEN_READWRITE);
        SQLite::Statement fill(
            database,
            "INSERT INTO assets (localIdentifier, creationDate, mediaSubtype, pixelWidth, pixelHeight, file, "
            "contentHash, isSelected) WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i "
            "< ?) SELECT printf('%08X-C36C-495A-93FC-0C247A3E6E5F', i * 2654435761 & 0xffffffff), i / 5 * 3600 "
            "+ i % 5 * 4, 4, 1170, 2532, printf('ab/%032x.png', i), printf('%032x', i), 1 FROM n");
        fill.bind(1, count - 1);
        fill.exec();
    }
    std::string catalogue() const { return (device.home() / "Photos" / "Catalogue.sqlite").native(); }

    const platform::TestDevice device;
};

std::vector<StitchableItem> fetched(PhotosStitchableDataSource& source) {
    std::optional<std::vector<StitchableItem>> items;
    source.fetchItems(platform::DispatchQueue::main(),
                      [&](std::vector<StitchableItem> found) { items = std::move(found); });
    platform::MainLoop::runUntil([&] { return items.has_value(); }, std::chrono::minutes(1));
    return std::move(*items);
}

/// `times_query`: fetching all items of a source over stepping through the same rows with SQLite.
void fetch(benchmark::State& state) {
    const LargeLibrary library(state.range(0));
    PhotosStitchableDataSource source;
    SQLite::Database database(library.catalogue(), SQLite::OPEN_READONLY);
    double fetching = 0, querying = 0;
    fetched(source);
    for (auto _ : state) {
        fetching += secondsOf([&] { benchmark::DoNotOptimize(fetched(source).size()); });
        querying += secondsOf([&] {
            SQLite::Statement rows(database,
                                   "SELECT localIdentifier, creationDate, mediaSubtype, pixelWidth, pixelHeight, "
                                   "file FROM assets WHERE deleted IS NULL AND (mediaSubtype & 4) != 0 ORDER BY "
                                   "creationDate DESC, number DESC");
            while (rows.executeStep()) {
                benchmark::DoNotOptimize(rows.getColumn(0).getText());
                benchmark::DoNotOptimize(rows.getColumn(1).getDouble());
                for (const int column : {2, 3, 4})
                    benchmark::DoNotOptimize(rows.getColumn(column).getInt64());
                benchmark::DoNotOptimize(rows.getColumn(5).getText());
            }
        });
    }
    state.counters["times_query"] = fetching / querying;
    state.counters["fetch_ms"] = 1000 * fetching / static_cast<double>(state.iterations());
}
BENCHMARK(fetch)->Arg(10'000)->Arg(100'000)->Iterations(10)->Unit(benchmark::kMillisecond);

/// `times_sorting`: a whole run, from the source through all steps to the change set, over sorting the items.
void wholeRun(benchmark::State& state) {
    const LargeLibrary library(state.range(0));
    const auto source = std::make_shared<PhotosStitchableDataSource>();
    Pipeline pipeline(source, std::make_shared<Silence>());
    pipeline.add(Grouper(20, nullptr));
    pipeline.add(AddPrestitchedStep());
    pipeline.add(std::make_shared<AddManuallyGroupedStep>());
    pipeline.add(IgnoreInAppScreenshotsStep::make(*source));
    pipeline.add(std::make_shared<IgnoreUserDeletedStep>());
    pipeline.add(IgnoreEmptyOrSingleStep());
    pipeline.add(SortGroupsStep());
    auto shuffled = fetched(*source);
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(1));
    double running = 0, sorting = 0;
    for (auto _ : state) {
        auto unsorted = shuffled;
        sorting += secondsOf([&] { std::ranges::stable_sort(unsorted, {}, &StitchableItem::date); });
        running += secondsOf([&] {
            bool isDone = false;
            pipeline.process([&](const std::vector<Group>& groups, const Change&) {
                benchmark::DoNotOptimize(groups.size());
                isDone = true;
            });
            platform::MainLoop::runUntil([&] { return isDone; }, std::chrono::minutes(1));
        });
    }
    state.counters["times_sorting"] = running / sorting;
    state.counters["run_ms"] = 1000 * running / static_cast<double>(state.iterations());
}
BENCHMARK(wholeRun)->Arg(10'000)->Arg(100'000)->Iterations(10)->Unit(benchmark::kMillisecond);

/// `times_fetch`: from one new screenshot to its announcement, over a fetch of all.
void changeOfOne(benchmark::State& state) {
    const LargeLibrary library(state.range(0));
    PhotosStitchableDataSource source;
    std::atomic<int> calls = 0;
    source.watchForChanges([&] { ++calls; });
    double telling = 0, fetching = 0;
    int adding = 0;
    for (auto _ : state) {
        fetching += secondsOf([&] { benchmark::DoNotOptimize(fetched(source).size()); });
        const int before = calls;
        telling += secondsOf([&] {
            ++adding;
            platform::addScreenshot(1e9 + adding, static_cast<unsigned>(adding));
            while (calls == before)
                std::this_thread::yield();
        });
    }
    state.counters["times_fetch"] = telling / fetching;
    state.counters["change_ms"] = 1000 * telling / static_cast<double>(state.iterations());
}
BENCHMARK(changeOfOne)->Arg(100'000)->Iterations(10)->Unit(benchmark::kMillisecond);

/// `times_copying`: importing 32 files of a megabyte in one transaction, over copying them with a flush each.
void import(benchmark::State& state) {
    const platform::TestDevice device;
    std::mt19937 random(1);
    std::vector<std::filesystem::path> files;
    for (unsigned i = 0; i < 32; ++i) {
        files.push_back(device.home() / ("shot" + std::to_string(i) + ".png"));
        const auto picture = platform::pictureOf(i + 1, 500, 700);
        auto file = platform::AtomicFile::create(files.back(), platform::AtomicFile::Existing::keep);
        const platform::CIImage recipe(*picture.cgImage());
        std::ignore =
            platform::writeImage(recipe, recipe.extent(), platform::ImageFormat::png, {}, platform::Date{0}, *file);
        std::ignore = file->commit();
    }
    double importing = 0, copying = 0;
    for (auto _ : state) {
        for (const auto& path : files) // other bytes, so that nothing is a duplicate
            platform::writeFile(path, platform::contentOf(path) + "x");
        importing += secondsOf([&] {
            platform::perform([&] {
                for (const auto& path : files)
                    platform::PHAssetCreationRequest::creationRequestForAssetFromImageAtFileURL(path);
            });
        });
        copying += secondsOf([&] {
            for (const auto& path : files) {
                auto copy =
                    platform::AtomicFile::create(path.native() + ".copy", platform::AtomicFile::Existing::replace);
                const std::string bytes = platform::contentOf(path);
                std::ignore = copy->write(std::as_bytes(std::span(bytes)));
                std::ignore = copy->commit();
            }
        });
    }
    state.counters["times_copying"] = importing / copying;
    state.counters["import_ms"] = 1000 * importing / static_cast<double>(state.iterations());
}
BENCHMARK(import)->Iterations(5)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace velmorant
