#pragma once

#include "Velmorant/Curation/RememberedItems.hpp"
#include "Velmorant/DataSources/PhotosStitchableDataSource.hpp"
#include "Velmorant/Pipeline/PipelineStep.hpp"
#include "Velmorant/Pipeline/PipelineStepObservable.hpp"
#include "Velmorant/Pipeline/PipelineStepObservableBatchChangeHandler.hpp"

#include <memory>

namespace velmorant {

/// Keeps screenshots of the application itself out of the groups: at each notice that the user took one it remembers
/// the first item of its source, for good. Handlers are called before that item is known, on the notice's thread.
class IgnoreInAppScreenshotsStep final : public PipelineStep,
                                         public PipelineStepObservable,
                                         public std::enable_shared_from_this<IgnoreInAppScreenshotsStep> {
public:
    /// Posted by whoever takes a screenshot of the application.
    static constexpr const char* notification = "UIApplicationUserDidTakeScreenshotNotification";

    /// Listens to the default notification centre, which keeps the step for as long as the device lasts.
    static std::shared_ptr<IgnoreInAppScreenshotsStep> make(PhotosStitchableDataSource source);

    std::string name() const override { return "Ignore in app screenshots"; }
    std::vector<Group> process(std::vector<Group> groups) const override {
        return ignoredIDs_.removed(std::move(groups));
    }

    void watchForChanges(ChangeHandler changeHandler) override {
        batchChangeHandler_.registerHandler(std::move(changeHandler));
    }
    void performWithoutNotifiyingChanges(const SilentChange& change) override {
        batchChangeHandler_.performSilenced(change);
    }

private:
    explicit IgnoreInAppScreenshotsStep(PhotosStitchableDataSource source) : source_(std::move(source)) {}

    void screenshotTaken();

    PhotosStitchableDataSource source_;
    mutable RememberedItems ignoredIDs_{"IgnoreInAppScreenshotsStep", RememberedItems::Reading::whole};
    PipelineStepObservableBatchChangeHandler batchChangeHandler_;
};

} // namespace velmorant
