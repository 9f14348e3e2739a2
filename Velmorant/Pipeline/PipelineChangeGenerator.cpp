#include "Velmorant/Pipeline/PipelineChangeGenerator.hpp"

namespace velmorant {

Change PipelineChangeGenerator::generateChange(const std::vector<Group>& groups) const {
    Change change;
    std::unordered_set<Group> seen;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const auto last = lastState_.find(groups[i]);
        if (last == lastState_.end()) {
            change.additions.insert({groups[i], i});
            continue;
        }
        seen.insert(groups[i]);
        if (last->second != i)
            change.moves.insert({groups[i], last->second, i});
    }
    if (seen.size() < lastState_.size())
        for (const auto& [group, index] : lastState_)
            if (!seen.contains(group))
                change.deletions.insert({group, index});
    return change;
}

void PipelineChangeGenerator::updateLastState(const std::vector<Group>& groups) {
    lastState_.clear();
    lastState_.reserve(groups.size());
    for (std::size_t i = 0; i < groups.size(); ++i)
        lastState_.insert_or_assign(groups[i], i);
}

} // namespace velmorant
