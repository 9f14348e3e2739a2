#include "Velmorant/Pipeline/Steps/AddPrestitchedStep.hpp"

#include <algorithm>
#include <iterator>

namespace velmorant {

namespace {

bool isPrestitched(const StitchableItem& item) {
    return item.type != StitchableItem::ItemType::unstitched;
}

} // namespace

std::vector<Group> AddPrestitchedStep::process(std::vector<Group> groups) const {
    std::vector<Group> result;
    for (Group& group : groups) {
        if (std::ranges::none_of(group.items(), isPrestitched))
            continue;
        std::vector<StitchableItem> rest;
        for (const StitchableItem& item : group.items())
            if (isPrestitched(item))
                result.emplace_back(std::vector{item});
            else
                rest.push_back(item);
        group = Group(std::move(rest), group.date());
    }
    std::ranges::move(groups, std::back_inserter(result));
    return result;
}

} // namespace velmorant
