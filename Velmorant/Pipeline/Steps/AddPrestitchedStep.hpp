#pragma once

#include "Velmorant/Pipeline/PipelineStep.hpp"

namespace velmorant {

/// Takes images that were stitched earlier out of the groups. Each becomes a group of its own, before all others; what
/// is left of a group keeps its date, even when nothing is left.
class AddPrestitchedStep final : public PipelineStep {
public:
    std::string name() const override { return "Make every item that's marked as prestitched its own group"; }
    std::vector<Group> process(std::vector<Group> groups) const override;
};

} // namespace velmorant
