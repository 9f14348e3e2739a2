#pragma once

#include "Velmorant/Model/LogStore.hpp"
#include "Velmorant/Pipeline/PipelineStep.hpp"

#include <memory>
#include <string>

namespace velmorant {

/// Cuts the items of all groups, in their order, into runs: consecutive items of equal size less than an interval
/// apart. Former groups and their dates are forgotten. Without items the result is one empty group.
class Grouper final : public PipelineStep {
public:
    /// `interval` in seconds: a gap as long as that separates. Zero and less, or no number, separate all, infinity
    /// none. `logger` may be null.
    Grouper(double interval, std::shared_ptr<LogStore> logger) : interval(interval), logger_(std::move(logger)) {}

    std::string name() const override { return title; }
    std::vector<Group> process(std::vector<Group> groups) const override;

    std::string title = "Grouper"; ///< what `name` answers
    double interval;

private:
    bool belongTogether(const StitchableItem& a, const StitchableItem& b) const;

    std::shared_ptr<LogStore> logger_;
};

} // namespace velmorant
