#pragma once

#include "Velmorant/Pipeline/PipelineStep.hpp"

#include <concepts>
#include <memory>
#include <utility>

namespace velmorant {

/// Any step, value or shared object. Itself a value.
class AnyPipelineStep final : public PipelineStep {
public:
    template <class Step>
        requires(!std::same_as<Step, AnyPipelineStep>) && // which would ask whether this may be copied by this
                std::derived_from<Step, PipelineStep> && std::copy_constructible<Step>
    explicit AnyPipelineStep(Step step) : base_(std::make_shared<Step>(std::move(step))) {}

    template <class Step>
        requires std::derived_from<Step, PipelineStep> && (!std::copy_constructible<Step>)
    explicit AnyPipelineStep(std::shared_ptr<Step> step) : base_(std::move(step)) {}

    /// The wrapped step where it is a `T`, which may be an interface: a copy of a value, the same object otherwise.
    template <class T>
    std::shared_ptr<T> as() const {
        auto step = std::dynamic_pointer_cast<T>(base_);
        if constexpr (std::copy_constructible<T>)
            return step ? std::make_shared<T>(*step) : nullptr;
        else
            return step;
    }

    std::string name() const override { return base_->name(); }
    std::vector<Group> process(std::vector<Group> groups) const override { return base_->process(std::move(groups)); }

private:
    std::shared_ptr<PipelineStep> base_; // a value is never changed once it is here, so copies of this may share it
};

} // namespace velmorant
