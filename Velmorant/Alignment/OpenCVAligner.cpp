#include "Velmorant/Alignment/OpenCVAligner.hpp"

#include "Velmorant/Alignment/AlignmentError.hpp"
#include "Velmorant/Alignment/LoaderLazyImage.hpp"

namespace velmorant {

using orbelquist::KSVPattern;
using orbelquist::KSVPatternPair;

namespace {

std::string describe(const OpenCVAligner::Pairs& pairs) {
    std::string text = "[";
    for (const KSVPatternPair& pair : pairs)
        text += (text.size() > 1 ? ", " : "") + pair.description();
    return text + "]";
}

std::vector<KSVPattern> patternsOf(const OpenCVAligner::Pairs& pairs, KSVPattern KSVPatternPair::* side) {
    std::vector<KSVPattern> patterns;
    patterns.reserve(pairs.size());
    for (const KSVPatternPair& pair : pairs)
        patterns.push_back(pair.*side);
    return patterns;
}

} // namespace

OpenCVAligner::OpenCVAligner(std::shared_ptr<Loader> loader, std::shared_ptr<AlignerCache> cache,
                             std::shared_ptr<LogStore> logger, Observer observer)
    : loader_(std::move(loader)), cache_(std::move(cache)), logger_(std::move(logger)), observer_(std::move(observer)) {
}

void OpenCVAligner::alignment(const Group& group, const platform::DispatchQueue& queue,
                              platform::DispatchWorkItemFlags flags, Completion completion) {
    const std::string id = group.id();
    const auto deliver = [queue, flags, completion = std::move(completion)](Result result) {
        queue.async(flags, [completion, result = std::move(result)] { completion(result); });
    };

    if (auto cached = cache_->alignment(id)) {
        logger_->debug([&] { return "Using cached alignment for " + id; });
        deliver(std::move(*cached));
        return;
    }
    logger_->debug([&] { return "Generating alignment for " + id; });
    logger_->debug([&] { return "Generating patterns for " + id; });

    orbelquist::KSVPatternMaker::Images images;
    images.reserve(group.items().size());
    for (const StitchableItem& item : group.items())
        images.push_back(std::make_shared<LoaderLazyImage>(item, loader_));
    patternMaker_.patternsForImages(std::move(images), [aligner = *this, group, id, deliver](Pairs pairs) {
        aligner.logger_->debug([&] { return "Patterns generated for " + id + ": " + describe(pairs); });
        if (aligner.observer_)
            aligner.observer_(group, pairs);
        Result result = aligner.align(group, pairs);
        if (result) {
            aligner.logger_->debug([&] { return "Finished alignment for  " + id; });
            aligner.cache_->setAlignment(id, *result);
        }
        deliver(std::move(result));
    });
}

Aligner::Result OpenCVAligner::align(const Group& group, const Pairs& pairs) const {
    auto run = chooseRun(pairs, group);
    if (!run)
        return std::unexpected(run.error());
    return alignmentGenerator_.generateAlignment(std::move(run->items), std::move(run->patterns));
}

std::expected<PatternRun, std::error_code> OpenCVAligner::chooseRun(const Pairs& pairs, const Group& group) const {
    auto down = alignmentGenerator_.bestRun(patternsOf(pairs, &KSVPatternPair::positive), group);
    auto up = alignmentGenerator_.bestRun(patternsOf(pairs, &KSVPatternPair::negative), group);
    if (!down && !up) {
        logger_->error([&] { return "No valid patterns for " + group.id(); });
        return std::unexpected(make_error_code(AlignmentError::noAlignment));
    }
    if (!down || !up)
        return std::move(down ? *down : *up);
    if (down->patterns.size() != up->patterns.size())
        return std::move(down->patterns.size() > up->patterns.size() ? *down : *up);

    const auto height = [&](const PatternRun& run) -> std::int64_t {
        const auto alignment = alignmentGenerator_.generateAlignment(run.items, run.patterns);
        return alignment ? alignment->size().height : 0;
    };
    return std::move(height(*down) < height(*up) ? *up : *down);
}

} // namespace velmorant
