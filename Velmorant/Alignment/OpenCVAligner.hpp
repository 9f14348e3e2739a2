#pragma once

#include "Orbelquist/KSVPatternMaker.hpp"
#include "Velmorant/Alignment/Aligner.hpp"
#include "Velmorant/Alignment/AlignerCache.hpp"
#include "Velmorant/Alignment/AlignmentGenerator.hpp"
#include "Velmorant/Alignment/Loader.hpp"
#include "Velmorant/Model/LogStore.hpp"

#include <memory>

namespace velmorant {

/// The library's aligner: answers from the cache, else has every two consecutive screenshots matched, takes the longest
/// run of matches, and keeps the alignment that it makes of them. Any thread; several groups at the same time. A value:
/// a request works on a copy, there is no cancelling.
class OpenCVAligner final : public Aligner {
public:
    using Pairs = std::vector<orbelquist::KSVPatternPair>;
    /// Hears of every group that was matched, with the answer for each pair of consecutive items, before a run is chosen;
    /// on a thread of the pattern maker. It may correct the answers. Groups answered from the cache are not matched.
    using Observer = std::function<void(const Group&, Pairs&)>;

    OpenCVAligner(std::shared_ptr<Loader> loader, std::shared_ptr<AlignerCache> cache, std::shared_ptr<LogStore> logger,
                  Observer observer = nullptr);

    /// Fails with `AlignmentError` where no two consecutive items match, and for groups of fewer than two items.
    void alignment(const Group& group, const platform::DispatchQueue& queue, platform::DispatchWorkItemFlags flags,
                   Completion completion) override;

    /// The longer of the runs that lead down and up; of equally long ones that with the taller canvas, else the one
    /// that leads down. Logs where there is none.
    std::expected<PatternRun, std::error_code> chooseRun(const Pairs& pairs, const Group& group) const;

private:
    Result align(const Group& group, const Pairs& pairs) const;

    std::shared_ptr<Loader> loader_;
    std::shared_ptr<AlignerCache> cache_;
    orbelquist::KSVPatternMaker patternMaker_;
    AlignmentGenerator alignmentGenerator_;
    std::shared_ptr<LogStore> logger_;
    Observer observer_;
};

} // namespace velmorant
