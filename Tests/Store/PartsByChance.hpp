#pragma once

#include "Platform/Dispatch/Mutex.hpp"
#include "Tests/Support/Chance.hpp"
#include "Tests/Support/TestImages.hpp"
#include "Tests/Support/TestItems.hpp"
#include "Tests/Support/TestLogs.hpp"
#include "Velmorant/Alignment/AlignmentError.hpp"
#include "Velmorant/Alignment/OpenCVAligner.hpp"
#include "Velmorant/Rendering/Renderer.hpp"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <random>

/// What a store has its work done by, at a pace and with an outcome that follow from a seed.
namespace velmorant {

constexpr std::size_t groupCount = 14, keyCount = 10;

/// How the aligner treats a group, by its number.
enum class Manner { atOnce, later, failing, silent, matched, prestitched, manners };

inline Manner mannerOf(std::size_t group) {
    return static_cast<Manner>(group % static_cast<std::size_t>(Manner::manners));
}

inline Group groupAt(std::size_t index) {
    const auto type = mannerOf(index) == Manner::prestitched ? StitchableItem::ItemType::prestitched
                                                             : StitchableItem::ItemType::unstitched;
    std::vector<StitchableItem> items;
    for (std::size_t i = 0; i < (type == StitchableItem::ItemType::unstitched ? 3 : 1); ++i)
        items.emplace_back(std::to_string(index) + static_cast<char>('a' + i),
                           platform::Date{static_cast<double>(index)}, PixelSize{20, 40, 1}, type);
    return Group(std::move(items));
}

inline std::size_t indexOf(const StitchableItem& item) {
    return std::stoul(item.id);
}

/// Its height tells which it is.
inline Alignment alignmentAt(std::size_t key) {
    return Alignment({{itemsOf("a")[0], {}}}, {20, static_cast<std::int64_t>(10 + key), 1});
}

struct NoCache final : AlignerCache {
    std::optional<Alignment> alignment(const std::string&) const override { return std::nullopt; }
    void setAlignment(const std::string&, std::optional<Alignment>) override {}
};

/// Slow, or without an image, or without an answer at all.
class ChanceLoader final : public Loader {
public:
    explicit ChanceLoader(chance::Delays& delays) : delays_(delays) {}
    void loadImage(const StitchableItem&, bool, const Completion& completion) override {
        delays_.delay();
        const unsigned number = delays_.next();
        if (number % 4 == 0)
            return;
        std::mt19937 random(number);
        completion(number % 4 == 1 ? std::nullopt
                                   : std::optional(platform::UIImage(platform::noiseImage(20, 40, random))));
    }

private:
    chance::Delays& delays_;
};

class ChanceAligner final : public Aligner {
public:
    explicit ChanceAligner(chance::Delays& delays)
        : delays_(delays),
          matching_(std::make_shared<ChanceLoader>(delays), std::make_shared<NoCache>(), std::make_shared<Silence>()) {}

    void alignment(const Group& group, const platform::DispatchQueue& queue, platform::DispatchWorkItemFlags flags,
                   Completion completion) override {
        const std::size_t index = indexOf(group.items().front());
        ++runs[index];
        delays_.delay();
        Result result = std::unexpected(make_error_code(AlignmentError::noAlignment));
        if (mannerOf(index) != Manner::failing)
            result = alignmentAt(index);
        const auto answer = [=] { queue.async(flags, [=] { completion(result); }); };
        if (mannerOf(index) == Manner::matched) {
            matching_.alignment(group, queue, flags, completion);
        } else if (mannerOf(index) == Manner::later) {
            platform::DispatchQueue::global().async([answer, this] {
                delays_.delay();
                answer();
            });
        } else if (mannerOf(index) == Manner::silent) {
            const platform::MutexLock lock(mutex_);
            kept_.push_back(answer);
        } else {
            answer();
        }
    }

    /// Even those that never would.
    void answerAll() {
        const platform::MutexLock lock(mutex_);
        for (const auto& answer : std::exchange(kept_, {}))
            answer();
    }

    std::array<std::atomic<int>, groupCount> runs = {};

private:
    chance::Delays& delays_;
    OpenCVAligner matching_;
    platform::Mutex mutex_;
    std::vector<std::function<void()>> kept_ VELMORANT_GUARDED_BY(mutex_);
};

class ChanceRenderer final : public Renderer {
public:
    explicit ChanceRenderer(chance::Delays& delays) : delays_(delays) {}
    platform::UIImage render(const Alignment& alignment) const override {
        const auto key = static_cast<std::size_t>(alignment.size().height - 10);
        EXPECT_EQ(inFlight_[key]++, 0) << "two renders of one key at a time";
        ++runs[key];
        delays_.delay();
        const auto [width, height, scale] = alignment.size();
        const platform::UIImage image(platform::imageOf(width, height, [](auto, auto) { return 0xffu; }));
        --inFlight_[key];
        return image;
    }
    mutable std::array<std::atomic<int>, keyCount> runs = {};

private:
    chance::Delays& delays_;
    mutable std::array<std::atomic<int>, keyCount> inFlight_ = {};
};

} // namespace velmorant
