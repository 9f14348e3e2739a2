#pragma once

#include "Velmorant/Pipeline/Change.hpp"

#include <unordered_map>
#include <vector>

namespace velmorant {

/// Remembers where each group stood and describes a new list against that. A group is the same only if all of it is:
/// one that gained an item went and came. On the main queue.
class PipelineChangeGenerator {
public:
    /// A group moved whenever its place changed, be it only because others came before it. Each of several equal groups
    /// is judged by itself.
    Change generateChange(const std::vector<Group>& groups) const;

    /// Of several equal groups the last place counts.
    void updateLastState(const std::vector<Group>& groups);

private:
    std::unordered_map<Group, std::size_t> lastState_;
    std::size_t lastCount_ = 0; ///< places in the last list
};

} // namespace velmorant
