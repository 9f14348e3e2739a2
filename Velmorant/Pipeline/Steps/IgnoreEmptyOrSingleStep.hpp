#pragma once

#include "Velmorant/Pipeline/PipelineStep.hpp"

namespace velmorant {

/// Drops empty groups and lone screenshots; a lone image that was stitched earlier stays.
class IgnoreEmptyOrSingleStep final : public PipelineStep {
public:
    std::string name() const override { return "Ignore empty or single groups"; }
    std::vector<Group> process(std::vector<Group> groups) const override {
        std::erase_if(groups, [](const Group& group) { return group.items().size() < 2 && !group.prestitched(); });
        return groups;
    }
};

} // namespace velmorant
