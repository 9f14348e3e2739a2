#pragma once

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Foundation/UUID.hpp"
#include "Velmorant/Alignment/Aligner.hpp"
#include "Velmorant/Pipeline/Pipeline.hpp"
#include "Velmorant/Rendering/RenderCache.hpp"
#include "Velmorant/Rendering/Renderer.hpp"
#include "Velmorant/Store/CompletionBag.hpp"
#include "Velmorant/Store/StitchingStoreDelegate.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace velmorant {

/// The one object that an application talks to: publishes the groups of its pipeline whenever they change, and answers
/// requests for a group's alignment and for rendered images, each piece of work done once however many ask for it.
///
/// Any thread may ask; every callback comes on the main queue. Alignments, errors too, are kept for the store's life,
/// images until the application clears the cache. The pipeline's source and observable steps keep the store alive.
class StitchingStore final : public std::enable_shared_from_this<StitchingStore> {
public:
    /// Registers with the pipeline's source and its observable steps: whatever they announce runs the pipeline. It does
    /// not run by itself before.
    static std::shared_ptr<StitchingStore> make(Pipeline pipeline, std::shared_ptr<Aligner> aligner,
                                                std::shared_ptr<Renderer> renderer, RenderCache cache = {});

    const Pipeline& pipeline() const { return pipeline_; }
    const std::shared_ptr<Aligner>& aligner() const { return aligner_; }
    const std::shared_ptr<Renderer>& renderer() const { return renderer_; }

    // On the main thread.

    /// As they were last published; none at first.
    const std::vector<Group>& groups() const { return groups_; }
    void setGroups(std::vector<Group> groups) { groups_ = std::move(groups); }

    /// Not kept alive.
    std::shared_ptr<StitchingStoreDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(std::weak_ptr<StitchingStoreDelegate> delegate) { delegate_ = std::move(delegate); }

    // Any thread, but not within the store's own queues: these wait.

    /// A copy. Takes effect after the requests made before it.
    RenderCache cache() const;
    void setCache(RenderCache cache);

    /// Nothing where no analysis of that group has finished.
    std::optional<Aligner::Result> result(const Group& group) const;

    // Any thread; these return at once.

    /// `completion` is called once a result is there.
    void requestAnalysis(const Group& group, std::function<void()> completion);

    /// An image of at most `targetSize` pixels (its width and height times its scale); `completion` always gets one.
    /// Answers the request's id.
    platform::UUID requestRender(const Alignment& alignment, const PixelSize& targetSize,
                                 std::function<void(std::optional<platform::UIImage>)> completion);

    /// The request's callback is not called any more unless it is on its way already. The image is still drawn and
    /// kept, and others who wait for it are answered.
    void cancelRender(const platform::UUID& id);

private:
    using AnalysisCompletion = std::function<void()>;
    using RenderCompletion = std::function<void(std::optional<platform::UIImage>)>;

    StitchingStore(Pipeline pipeline, std::shared_ptr<Aligner> aligner, std::shared_ptr<Renderer> renderer,
                   RenderCache cache);

    void refresh();

    // Within barriers of the configuration queue.
    void analyse(const Group& group, AnalysisCompletion completion);
    void finishAnalysis(const Group& group, Aligner::Result result);
    void render(const RenderCache::CacheKey& key, RenderCompletion completion, const platform::UUID& id);
    void finishRender(const RenderCache::CacheKey& key, const platform::UIImage& image);

    const Pipeline pipeline_;
    const std::shared_ptr<Aligner> aligner_;
    const std::shared_ptr<Renderer> renderer_;

    std::vector<Group> groups_;
    std::weak_ptr<StitchingStoreDelegate> delegate_;

    // A reader-writer lock: all below changes within its barriers.
    const platform::DispatchQueue configurationQueue_;
    const platform::DispatchQueue analysisQueue_;
    const platform::DispatchQueue renderingQueue_;
    RenderCache cache_;
    CompletionBag<Group, AnalysisCompletion> aligning_;
    CompletionBag<RenderCache::CacheKey, RenderCompletion> rendering_;
    std::unordered_map<Group, Aligner::Result> alignmentResults_;
};

} // namespace velmorant
