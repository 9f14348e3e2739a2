#include "Velmorant/Pipeline/Pipeline.hpp"

namespace velmorant {

void Pipeline::process(Completion completion) const {
    const auto run = [pipeline = *this, completion = std::move(completion)](std::vector<StitchableItem> items) {
        LogStore& log = *pipeline.logger_;
        log.debug([&] { return "Processing beginning " + debugDescription(items); });
        std::vector<Group> groups;
        groups.emplace_back(std::move(items));
        for (const AnyPipelineStep& step : pipeline.steps_) {
            groups = step.process(std::move(groups));
            log.debug([&] { return "Step " + step.name() + ": " + debugDescription(groups); });
        }
        log.debug([&] { return "Processing finished: " + debugDescription(groups); });
        Change change = pipeline.changeGenerator_->generateChange(groups);
        pipeline.changeGenerator_->updateLastState(groups);
        completion(std::move(groups), std::move(change));
    };
    source_->fetchItems(platform::DispatchQueue::main(), run);
}

void Pipeline::watchStepsForChanges(const PipelineStepObservable::ChangeHandler& changeHandler) const {
    applyToSteps<PipelineStepObservable>([&](PipelineStepObservable& step) { step.watchForChanges(changeHandler); });
}

} // namespace velmorant
