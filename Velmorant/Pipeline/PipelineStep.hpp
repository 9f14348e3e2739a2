#pragma once

#include "Velmorant/Model/Group.hpp"

#include <string>
#include <vector>

namespace velmorant {

/// One step of a pipeline: rewrites the list of groups. A step that can be copied is a value and is copied with its
/// pipeline; one that cannot is an object that all copies of its pipeline share.
class PipelineStep {
public:
    virtual ~PipelineStep() = default;

    /// For people who read the log.
    virtual std::string name() const = 0;

    /// Any list: longer, shorter, in another order, of other groups. On the main queue.
    virtual std::vector<Group> process(std::vector<Group> groups) const = 0;
};

} // namespace velmorant
