#include "Velmorant/Model/Group.hpp"

namespace velmorant {

namespace {

platform::Date dateOf(const std::vector<StitchableItem>& items) {
    return items.empty() ? platform::Date::distantPast() : items.front().date;
}

} // namespace

Group::Group(std::vector<StitchableItem> items, std::optional<platform::Date> date)
    : items_(std::move(items)), date_(date ? *date : dateOf(items_)) {}

std::string Group::id() const {
    std::string id;
    for (std::size_t i = 0; i < items_.size(); ++i) {
        if (i > 0)
            id += '_';
        id += items_[i].id;
    }
    return id;
}

bool Group::prestitched() const {
    return items_.size() == 1 && items_.front().type != StitchableItem::ItemType::unstitched;
}

std::string Group::debugDescription() const {
    std::string text = "Group " + id() + " {\n";
    for (const StitchableItem& item : items_)
        text += item.debugDescription() + "\n";
    return text + "}";
}

} // namespace velmorant

std::size_t std::hash<velmorant::Group>::operator()(const velmorant::Group& group) const noexcept {
    std::size_t seed = velmorant::hashOf(group.items().size());
    for (const velmorant::StitchableItem& item : group.items())
        seed = velmorant::combineHash(seed, std::hash<velmorant::StitchableItem>()(item));
    return velmorant::combineHash(seed, std::hash<platform::Date>()(group.date()));
}
