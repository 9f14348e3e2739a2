#pragma once

#include "Velmorant/DataSources/StitchableDataSource.hpp"
#include "Velmorant/Model/LogStore.hpp"
#include "Velmorant/Pipeline/AnyPipelineStep.hpp"
#include "Velmorant/Pipeline/Change.hpp"
#include "Velmorant/Pipeline/PipelineChangeGenerator.hpp"

#include <functional>
#include <memory>
#include <vector>

namespace velmorant {

/// Turns the items of a data source into an ordered list of groups, step by step. A value: copies share the source, the
/// steps that are objects, and the memory of the last result.
class Pipeline {
public:
    using Completion = std::function<void(std::vector<Group>, Change)>;

    Pipeline(std::shared_ptr<StitchableDataSource> source, std::shared_ptr<LogStore> logger)
        : source_(std::move(source)), logger_(std::move(logger)) {}

    const std::shared_ptr<StitchableDataSource>& source() const { return source_; }

    /// Steps run in the order in which they were added.
    template <class Step>
    void add(Step step) {
        steps_.push_back(AnyPipelineStep(std::move(step)));
    }

    /// Runs once; any thread, returns at once. `completion` is called on the main queue with the groups and what leads
    /// to them from the result of the run, of whatever copy, that completed last. Runs never overlap.
    void process(Completion completion) const;

    /// The first step that is a `T`, a type of step or an interface: a copy of a value, the object itself otherwise.
    /// Null where there is none.
    template <class T>
    std::shared_ptr<T> firstStep() const {
        for (const AnyPipelineStep& step : steps_)
            if (auto found = step.as<T>())
                return found;
        return nullptr;
    }

    /// Calls `apply` with every step that is a `T`, in order.
    template <class T, class Apply>
    void applyToSteps(Apply apply) const {
        for (const AnyPipelineStep& step : steps_)
            if (const auto found = step.as<T>())
                apply(*found);
    }

    /// Registers with every observable step there is by now; not with the source.
    void watchStepsForChanges(const PipelineStepObservable::ChangeHandler& changeHandler) const;

private:
    std::shared_ptr<StitchableDataSource> source_;
    std::vector<AnyPipelineStep> steps_;
    std::shared_ptr<LogStore> logger_;
    std::shared_ptr<PipelineChangeGenerator> changeGenerator_ = std::make_shared<PipelineChangeGenerator>();
};

} // namespace velmorant
