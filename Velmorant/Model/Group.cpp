#include "Velmorant/Model/Group.hpp"

namespace velmorant {

namespace {

platform::Date dateOf(const std::vector<StitchableItem>& items) {
    return items.empty() ? platform::Date::distantPast() : items.front().date;
}

} // namespace

Group::Group(std::vector<StitchableItem> items, std::optional<platform::Date> date) {
    const platform::Date chosen = date ? *date : dateOf(items);
    state_ = std::make_shared<State>(std::move(items), chosen);
}

std::vector<StitchableItem> Group::items() && {
    return state_.use_count() == 1 ? std::move(state_->items) : state_->items;
}

std::string Group::id() const {
    std::string id;
    for (std::size_t i = 0; i < items().size(); ++i) {
        if (i > 0)
            id += '_';
        id += items()[i].id;
    }
    return id;
}

bool Group::prestitched() const {
    return items().size() == 1 && items().front().type != StitchableItem::ItemType::unstitched;
}

std::string Group::debugDescription() const {
    std::string text = "Group " + id() + " {\n";
    for (const StitchableItem& item : items())
        text += item.debugDescription() + "\n";
    return text + "}";
}

std::string debugDescription(const std::vector<Group>& groups) {
    std::string text = "[";
    for (const Group& group : groups)
        text += (text.size() > 1 ? ", " : "") + group.debugDescription();
    return text + "]";
}

} // namespace velmorant

std::size_t std::hash<velmorant::Group>::operator()(const velmorant::Group& group) const noexcept {
    auto& kept = group.state_->hash;
    if (const std::size_t known = kept.load(std::memory_order_relaxed))
        return known;
    std::size_t seed = velmorant::hashOf(group.items().size());
    for (const velmorant::StitchableItem& item : group.items())
        seed = velmorant::combineHash(seed, std::hash<velmorant::StitchableItem>()(item));
    seed = velmorant::combineHash(seed, std::hash<platform::Date>()(group.date()));
    kept.store(seed, std::memory_order_relaxed);
    return seed;
}
