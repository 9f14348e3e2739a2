#pragma once

#include "Velmorant/Model/Group.hpp"

#include <string>
#include <vector>

namespace velmorant {

/// An item a letter; a capital one was stitched earlier. The first letter's date is `start`, each next one's a second
/// later.
inline std::vector<StitchableItem> itemsOf(const std::string& letters, double start = 0) {
    std::vector<StitchableItem> items;
    for (const char letter : letters) {
        const bool stitched = letter >= 'A' && letter <= 'Z';
        items.emplace_back(std::string(1, letter), platform::Date{start + static_cast<double>(items.size())},
                           PixelSize{100, 200, 1},
                           stitched ? StitchableItem::ItemType::prestitched : StitchableItem::ItemType::unstitched);
    }
    return items;
}

inline std::vector<Group> groupsOf(const std::vector<std::string>& letters) {
    std::vector<Group> groups;
    for (const std::string& run : letters)
        groups.emplace_back(itemsOf(run));
    return groups;
}

/// The groups' ids without underscores, separated by blanks; "-" for an empty group.
inline std::string lettersOf(const std::vector<Group>& groups) {
    std::string text;
    for (const Group& group : groups) {
        text += text.empty() ? "" : " ";
        for (const StitchableItem& item : group.items())
            text += item.id;
        if (group.items().empty())
            text += '-';
    }
    return text;
}

} // namespace velmorant
