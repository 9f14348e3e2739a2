#include "Benchmarks/Timing.hpp"
#include "Platform/Dispatch/MainLoop.hpp"
#include "Tests/Support/MemoryDataSource.hpp"
#include "Velmorant/Pipeline/Pipeline.hpp"
#include "Velmorant/Pipeline/Steps/AddPrestitchedStep.hpp"
#include "Velmorant/Pipeline/Steps/Grouper.hpp"
#include "Velmorant/Pipeline/Steps/IgnoreEmptyOrSingleStep.hpp"
#include "Velmorant/Pipeline/Steps/SortGroupsStep.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>

// One run of the pipeline over a large library, change set included, against sorting the library's items by date. Both
// are timed in turns within one iteration; the counter "times_sorting" is their ratio.

namespace velmorant {

namespace {

constexpr std::size_t itemCount = 100'000;

struct Silence final : LogStore {
    void store(const Message&, LogStoreType) override {}
};

/// Runs of `runLength` screenshots a few seconds apart, an hour between two runs; each 50th item was stitched earlier.
std::vector<StitchableItem> library(std::size_t runLength) {
    std::vector<StitchableItem> items;
    double date = 0;
    for (std::size_t i = 0; i < itemCount; ++i) {
        date += i % runLength == 0 ? 3600 : 5;
        char id[40];
        std::snprintf(id, sizeof id, "%08zX-C36C-495A-93FC-0C247A3E6E5F", i * 2654435761u % 0xffffffffu);
        items.emplace_back(id, platform::Date{date}, PixelSize{1170, 2532, 1},
                           i % 50 == 0 ? StitchableItem::ItemType::prestitched : StitchableItem::ItemType::unstitched);
    }
    return items;
}

/// `state.range(0)`: screenshots a run. `state.range(1)`: whether the newest item goes and comes between two runs, so
/// that nearly every group moves.
void pipelineRun(benchmark::State& state) {
    const auto items = library(static_cast<std::size_t>(state.range(0)));
    auto shuffled = items;
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(1));
    auto fewer = items;
    fewer.resize(items.size() - static_cast<std::size_t>(state.range(0)));

    const auto source = std::make_shared<MemoryDataSource>(items);
    Pipeline pipeline(source, std::make_shared<Silence>());
    pipeline.add(Grouper(20, nullptr));
    pipeline.add(AddPrestitchedStep());
    pipeline.add(IgnoreEmptyOrSingleStep());
    pipeline.add(SortGroupsStep());

    double running = 0, sorting = 0;
    bool isShort = false;
    for (auto _ : state) {
        auto unsorted = shuffled;
        sorting += secondsOf([&] { std::ranges::stable_sort(unsorted, {}, &StitchableItem::date); });
        if (state.range(1) != 0)
            source->setItems((isShort = !isShort) ? fewer : items);
        std::vector<Group> groups;
        running += secondsOf([&] {
            bool isDone = false;
            pipeline.process([&](std::vector<Group> result, const Change& change) {
                groups = std::move(result);
                benchmark::DoNotOptimize(change.additions.size());
                isDone = true;
            });
            platform::MainLoop::runUntil([&] { return isDone; }, std::chrono::minutes(1));
        });
        state.counters["groups"] = static_cast<double>(groups.size());
    }
    state.counters["times_sorting"] = running / sorting;
    state.counters["run_ms"] = 1000 * running / static_cast<double>(state.iterations());
}

BENCHMARK(pipelineRun)
    ->ArgNames({"run", "changing"})
    ->ArgsProduct({{2, 5, 500}, {0, 1}})
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond);

} // namespace

} // namespace velmorant
