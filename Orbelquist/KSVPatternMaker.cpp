#include "Orbelquist/KSVPatternMaker.hpp"

#include "Orbelquist/FrameReader.hpp"
#include "Orbelquist/PairMatcher.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/Mutex.hpp"
#include "Platform/Dispatch/ThreadPool.hpp"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

namespace orbelquist {

namespace {

using platform::DispatchQueue;
using platform::MutexLock;

/// One request, worked off by as many threads as take part. Frames are read in order, as many ahead as may be in
/// memory, so that when all are read there are pairs left for every thread; else a pair is matched once both its frames
/// are there. A pair that is refused is looked at again with the frames before and after it, which may show more of a
/// picture behind the page, or tell where it lies; a frame is let go with the last pair that may need it. So few are in
/// memory, however long the run.
class Request {
public:
    explicit Request(KSVPatternMaker::Images images) : images_(std::move(images)), pairs_(images_.size() - 1) {}

    /// Works until nothing is left to begin. Several threads at once.
    void work() {
        for (;;) {
            std::size_t index = 0;
            switch (next(index)) {
            case Task::match:
                match(index);
                break;
            case Task::settle:
                settle(index);
                break;
            case Task::read:
                read(index);
                break;
            case Task::none:
                return;
            }
        }
    }

    /// After all work has ended.
    std::vector<KSVPatternPair> answer() {
        for (std::size_t k = 0; k < pairs_.size(); ++k) {
            // Two equal shots take no direction: they continue a run that leads down, but begin none.
            KSVPattern& positive = pairs_[k].positive;
            if (positive.valid() && positive.offset() == 0 && (k == 0 || !pairs_[k - 1].positive.valid()))
                positive = {};
        }
        return std::move(pairs_);
    }

private:
    enum class Task { read, match, settle, none };
    using FramePointer = std::shared_ptr<const Frame>; ///< null: cannot be read

    Task next(std::size_t& index) {
        const MutexLock lock(mutex_);
        for (;;) {
            if (settled_ < pairs_.size() && isMatched_[settled_] &&
                (settled_ + 1 == pairs_.size() || isMatched_[settled_ + 1])) {
                index = settled_++;
                return Task::settle;
            }
            if (read_ < images_.size() && frames_.size() + reading_ < mostFrames_) {
                index = read_++;
                ++reading_;
                return Task::read;
            }
            if (matched_ < pairs_.size() && frames_.contains(matched_) && frames_.contains(matched_ + 1)) {
                index = matched_++;
                return Task::match;
            }
            if (settled_ == pairs_.size())
                return Task::none;
            change_.wait(mutex_);
        }
    }

    void read(std::size_t index) {
        auto frame = readFrame(*images_[index]);
        images_[index].reset();
        const std::size_t first = index < 2 ? 0 : index - 2, last = std::min(index + 2, pairs_.size());
        const MutexLock lock(mutex_);
        --reading_;
        frames_[index] = {frame ? std::make_shared<const Frame>(std::move(*frame)) : nullptr, last - first};
        change_.notifyAll();
    }

    FramePointer frame(std::size_t index) {
        const MutexLock lock(mutex_);
        return frames_[index].frame;
    }

    void match(std::size_t index) {
        if (const FramePointer a = frame(index), b = frame(index + 1); a && b)
            pairs_[index] = matchFrames(*a, *b);
        const KSVVerdict& verdict = pairs_[index].verdict;
        const MutexLock lock(mutex_);
        isMatched_[index] = true;
        if (verdict.kind == KSVVerdict::Kind::matched)
            shifts_[index] = verdict.offset;
        change_.notifyAll();
    }

    void settle(std::size_t index) {
        const std::size_t first = index == 0 ? 0 : index - 1, last = std::min(index + 2, pairs_.size());
        if (FramePointer a = frame(index), b = frame(index + 1); a && b && !pairs_[index].verdict.valid()) {
            std::vector<FramePointer> held;
            std::vector<const Frame*> neighbours;
            for (std::size_t i = first; i <= last; ++i)
                if (FramePointer other = frame(i); i != index && i != index + 1 && other && other->width == a->width) {
                    neighbours.push_back(other.get());
                    held.push_back(std::move(other));
                }
            std::optional<KSVPatternPair> answer;
            if (!neighbours.empty() && findsNothing(pairs_[index].verdict))
                answer = matchAmong(*a, *b, neighbours);
            if (!answer || !answer->verdict.valid())
                if (const auto shift = shiftByNeighbours(index))
                    if (auto pair = matchAt(*a, *b, *shift))
                        answer = pair;
            if (answer)
                pairs_[index] = *answer;
        }
        const MutexLock lock(mutex_);
        for (std::size_t i = first; i <= last; ++i)
            if (--frames_[i].pairsLeft == 0)
                frames_.erase(i);
        change_.notifyAll();
    }

    /// What the way round a frame beside the pair adds up to, where both parts of it are matched.
    std::optional<std::int64_t> shiftByNeighbours(std::size_t index) {
        if (const auto after = shiftOf(index + 1))
            if (const auto both = shiftBetween(index, index + 2))
                return *both - *after;
        if (const auto before = index == 0 ? std::nullopt : shiftOf(index - 1))
            if (const auto both = shiftBetween(index - 1, index + 1))
                return *both - *before;
        return std::nullopt;
    }

    std::optional<std::int64_t> shiftOf(std::size_t pair) {
        const MutexLock lock(mutex_);
        return pair < shifts_.size() ? shifts_[pair] : std::nullopt;
    }

    std::optional<std::int64_t> shiftBetween(std::size_t first, std::size_t second) {
        const KSVVerdict verdict = matchFrames(*frame(first), *frame(second)).verdict;
        return verdict.kind == KSVVerdict::Kind::matched ? std::optional(verdict.offset) : std::nullopt;
    }

    struct Held {
        FramePointer frame;
        std::size_t pairsLeft = 0;
    };

    // Each element is touched by one thread at a time.
    KSVPatternMaker::Images images_;
    std::vector<KSVPatternPair> pairs_;

    /// A pair with its neighbours but for one, and one more a thread.
    const std::size_t mostFrames_ = 3 + platform::ThreadPool::shared().limit();

    platform::Mutex mutex_;
    platform::Condition change_;
    std::size_t read_ VELMORANT_GUARDED_BY(mutex_) = 0;    ///< images begun
    std::size_t reading_ VELMORANT_GUARDED_BY(mutex_) = 0; ///< of these, not yet in `frames_`
    std::size_t matched_ VELMORANT_GUARDED_BY(mutex_) = 0; ///< pairs begun
    std::size_t settled_ VELMORANT_GUARDED_BY(mutex_) = 0; ///< of these, looked at again
    std::vector<bool> isMatched_ VELMORANT_GUARDED_BY(mutex_) = std::vector<bool>(pairs_.size());
    std::vector<std::optional<std::int64_t>> shifts_ VELMORANT_GUARDED_BY(mutex_) =
        std::vector<std::optional<std::int64_t>>(pairs_.size()); ///< of pairs that two frames alone pin
    std::map<std::size_t, Held> frames_ VELMORANT_GUARDED_BY(mutex_);
};

} // namespace

void KSVPatternMaker::patternsForImages(Images images, Completion completion) const {
    DispatchQueue::global().async([images = std::move(images), completion = std::move(completion)]() mutable {
        if (images.size() < 2) {
            completion({});
            return;
        }
        Request request(std::move(images));
        DispatchQueue::concurrentPerform(platform::ThreadPool::shared().limit(), [&](std::size_t) { request.work(); });
        completion(request.answer());
    });
}

} // namespace orbelquist
