#include "Velmorant/Store/StitchingStore.hpp"

#include "Platform/Foundation/Device.hpp"

namespace velmorant {

using platform::DispatchQueue;
using platform::DispatchWorkItemFlags;
using platform::UIImage;
using platform::UUID;

namespace {

DispatchQueue makeQueue(const char* name) {
    return DispatchQueue::concurrent(platform::Device::current().hostIdentifier + ".stitchingstore." + name);
}

/// A picture that was stitched earlier is its own alignment.
Alignment alignmentOfPrestitched(const StitchableItem& item) {
    const PixelSize size = item.size();
    const RowRange whole{0, size.height};
    return Alignment({{item, {.offset = 0, .localOverlap = whole, .globalOverlap = whole}}}, size);
}

} // namespace

std::shared_ptr<StitchingStore> StitchingStore::make(Pipeline pipeline, std::shared_ptr<Aligner> aligner,
                                                     std::shared_ptr<Renderer> renderer, RenderCache cache) {
    const std::shared_ptr<StitchingStore> store(
        new StitchingStore(std::move(pipeline), std::move(aligner), std::move(renderer), std::move(cache)));
    const auto handler = [store] { store->refresh(); };
    store->pipeline_.source()->watchForChanges(handler);
    store->pipeline_.watchStepsForChanges(handler);
    return store;
}

StitchingStore::StitchingStore(Pipeline pipeline, std::shared_ptr<Aligner> aligner, std::shared_ptr<Renderer> renderer,
                               RenderCache cache)
    : pipeline_(std::move(pipeline)), aligner_(std::move(aligner)), renderer_(std::move(renderer)),
      configurationQueue_(makeQueue("configuration")), analysisQueue_(makeQueue("analysis")),
      renderingQueue_(makeQueue("rendering")), cache_(std::move(cache)) {}

void StitchingStore::refresh() {
    pipeline_.process([weak = weak_from_this()](std::vector<Group> groups, const Change& change) {
        const auto store = weak.lock();
        if (!store || (groups == store->groups_ && !groups.empty()))
            return;
        store->groups_ = std::move(groups);
        if (const auto delegate = store->delegate())
            delegate->didUpdateGroups(change);
    });
}

RenderCache StitchingStore::cache() const {
    return configurationQueue_.sync([this] { return cache_; });
}

void StitchingStore::setCache(RenderCache cache) {
    configurationQueue_.sync(DispatchWorkItemFlags::barrier, [&] { cache_ = std::move(cache); });
}

std::optional<Aligner::Result> StitchingStore::result(const Group& group) const {
    return configurationQueue_.sync([&]() -> std::optional<Aligner::Result> {
        const auto found = alignmentResults_.find(group);
        return found == alignmentResults_.end() ? std::nullopt : std::optional(found->second);
    });
}

void StitchingStore::requestAnalysis(const Group& group, AnalysisCompletion completion) {
    configurationQueue_.async(DispatchWorkItemFlags::barrier,
                              [weak = weak_from_this(), group, completion = std::move(completion)]() mutable {
                                  if (const auto store = weak.lock())
                                      store->analyse(group, std::move(completion));
                                  else
                                      DispatchQueue::main().async(std::move(completion));
                              });
}

void StitchingStore::analyse(const Group& group, AnalysisCompletion completion) {
    if (!alignmentResults_.contains(group) && group.prestitched())
        alignmentResults_.emplace(group, alignmentOfPrestitched(group.items().front()));
    if (alignmentResults_.contains(group)) {
        DispatchQueue::main().async(std::move(completion));
        return;
    }
    if (!aligning_.add(completion, group, UUID::make()))
        return;
    analysisQueue_.async([weak = weak_from_this(), group, completion = std::move(completion)] {
        const auto store = weak.lock();
        if (!store) {
            completion();
            return;
        }
        store->aligner_->alignment(group, store->configurationQueue_, DispatchWorkItemFlags::barrier,
                                   [weak, group, completion](Aligner::Result result) {
                                       if (const auto waiting = weak.lock())
                                           waiting->finishAnalysis(group, std::move(result));
                                       else
                                           completion();
                                   });
    });
}

void StitchingStore::finishAnalysis(const Group& group, Aligner::Result result) {
    auto completions = aligning_.removeCompletions(group);
    alignmentResults_.insert_or_assign(group, std::move(result));
    DispatchQueue::main().async([completions = std::move(completions)] {
        for (const AnalysisCompletion& completion : completions)
            completion();
    });
}

UUID StitchingStore::requestRender(const Alignment& alignment, const PixelSize& targetSize,
                                   RenderCompletion completion) {
    const UUID id = UUID::make();
    configurationQueue_.async(DispatchWorkItemFlags::barrier,
                              [weak = weak_from_this(), key = RenderCache::CacheKey{alignment, targetSize}, id,
                               completion = std::move(completion)]() mutable {
                                  if (const auto store = weak.lock())
                                      store->render(key, std::move(completion), id);
                              });
    return id;
}

void StitchingStore::render(const RenderCache::CacheKey& key, RenderCompletion completion, const UUID& id) {
    if (const auto image = cache_.image(key)) {
        DispatchQueue::main().async([completion = std::move(completion), image] { completion(image); });
        return;
    }
    if (!rendering_.add(std::move(completion), key, id))
        return;
    renderingQueue_.async([weak = weak_from_this(), key] {
        const auto store = weak.lock();
        if (!store)
            return;
        const UIImage image = store->renderer_->render(key.alignment, key.size.rescaled(1));
        store->configurationQueue_.async(DispatchWorkItemFlags::barrier, [weak, key, image] {
            if (const auto waiting = weak.lock())
                waiting->finishRender(key, image);
        });
    });
}

void StitchingStore::finishRender(const RenderCache::CacheKey& key, const UIImage& image) {
    auto completions = rendering_.removeCompletions(key);
    cache_.setImage(key, image);
    DispatchQueue::main().async([completions = std::move(completions), image] {
        for (const RenderCompletion& completion : completions)
            completion(image);
    });
}

void StitchingStore::cancelRender(const UUID& id) {
    configurationQueue_.async(DispatchWorkItemFlags::barrier, [weak = weak_from_this(), id] {
        if (const auto store = weak.lock())
            store->rendering_.removeCompletion(id);
    });
}

} // namespace velmorant
