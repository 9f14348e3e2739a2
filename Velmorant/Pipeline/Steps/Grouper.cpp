#include "Velmorant/Pipeline/Steps/Grouper.hpp"

#include <cmath>
#include <utility>

namespace velmorant {

std::vector<Group> Grouper::process(std::vector<Group> groups) const {
    if (logger_)
        logger_->debug([&] { return "Grouping " + debugDescription(groups); });
    std::vector<Group> runs;
    std::vector<StitchableItem> run;
    for (Group& group : groups)
        for (StitchableItem& item : std::move(group).items()) {
            if (!run.empty() && !belongTogether(run.back(), item))
                runs.emplace_back(std::exchange(run, {}));
            run.push_back(std::move(item));
        }
    runs.emplace_back(std::move(run));
    return runs;
}

bool Grouper::belongTogether(const StitchableItem& a, const StitchableItem& b) const {
    const double gap = std::abs(b.date.timeIntervalSinceReferenceDate - a.date.timeIntervalSinceReferenceDate);
    return gap < interval && a.size() == b.size();
}

} // namespace velmorant
