#pragma once

#include "Velmorant/Pipeline/PipelineStep.hpp"

#include <algorithm>

namespace velmorant {

/// Newest first; groups of equal dates stay in their order.
class SortGroupsStep final : public PipelineStep {
public:
    std::string name() const override { return "Sort groups by date"; }
    std::vector<Group> process(std::vector<Group> groups) const override {
        std::ranges::stable_sort(groups);
        return groups;
    }
};

} // namespace velmorant
