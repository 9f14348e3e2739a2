#include "Velmorant/Pipeline/PipelineChangeGenerator.hpp"

namespace velmorant {

Change PipelineChangeGenerator::generateChange(const std::vector<Group>& groups) const {
    Change change;
    std::vector<bool> seen(lastCount_); // by former place
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const auto last = lastState_.find(groups[i]);
        if (last == lastState_.end()) {
            change.additions.insert({groups[i], i});
            continue;
        }
        seen[last->second] = true;
        if (last->second != i)
            change.moves.insert({groups[i], last->second, i});
    }
    for (const auto& [group, index] : lastState_)
        if (!seen[index])
            change.deletions.insert({group, index});
    return change;
}

void PipelineChangeGenerator::updateLastState(const std::vector<Group>& groups) {
    lastCount_ = groups.size();
    lastState_.clear();
    lastState_.reserve(groups.size());
    for (std::size_t i = 0; i < groups.size(); ++i)
        lastState_.insert_or_assign(groups[i], i);
}

} // namespace velmorant
