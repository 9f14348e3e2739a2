#pragma once

#include "Velmorant/Model/StitchableItem.hpp"

#include <compare>
#include <optional>
#include <string>
#include <vector>

namespace velmorant {

/// An ordered run of items that is stitched into one image, top to bottom. Immutable once made.
class Group {
public:
    /// Without a date it is the first item's, and the distant past where there is no item either.
    explicit Group(std::vector<StitchableItem> items, std::optional<platform::Date> date = std::nullopt);

    const std::vector<StitchableItem>& items() const { return items_; }
    platform::Date date() const { return date_; }

    /// The items' ids, in order, joined by "_". Unlike equality it says nothing of dates.
    std::string id() const;

    /// One item, and that one stitched earlier.
    bool prestitched() const;

    std::string debugDescription() const;

    friend bool operator==(const Group&, const Group&) = default;

    /// Newest first, by date alone: a group is less than another when its date is later.
    friend bool operator<(const Group& a, const Group& b) { return a.date_ > b.date_; }
    friend bool operator>(const Group& a, const Group& b) { return b < a; }
    friend bool operator<=(const Group& a, const Group& b) { return !(b < a); }
    friend bool operator>=(const Group& a, const Group& b) { return !(a < b); }

private:
    std::vector<StitchableItem> items_;
    platform::Date date_;
};

} // namespace velmorant

template <>
struct std::hash<velmorant::Group> {
    std::size_t operator()(const velmorant::Group& group) const noexcept;
};
