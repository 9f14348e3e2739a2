#pragma once

#include "Velmorant/Model/StitchableItem.hpp"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmorant {

/// An ordered run of items that is stitched into one image, top to bottom. Immutable once made: a cheap handle over
/// shared state.
class Group {
public:
    /// Without a date it is the first item's, and the distant past where there is no item either.
    explicit Group(std::vector<StitchableItem> items, std::optional<platform::Date> date = std::nullopt);

    const std::vector<StitchableItem>& items() const& { return state_->items; }
    /// Copies nothing where no other handle shares them.
    std::vector<StitchableItem> items() &&;
    platform::Date date() const { return state_->date; }

    /// The items' ids, in order, joined by "_". Unlike equality it says nothing of dates.
    std::string id() const;

    /// One item, and that one stitched earlier.
    bool prestitched() const;

    std::string debugDescription() const;

    friend bool operator==(const Group& a, const Group& b) {
        return a.state_ == b.state_ || (a.date() == b.date() && a.items() == b.items());
    }

    /// Newest first, by date alone: a group is less than another when its date is later.
    friend bool operator<(const Group& a, const Group& b) { return a.date() > b.date(); }
    friend bool operator>(const Group& a, const Group& b) { return b < a; }
    friend bool operator<=(const Group& a, const Group& b) { return !(b < a); }
    friend bool operator>=(const Group& a, const Group& b) { return !(a < b); }

private:
    friend std::hash<Group>;

    struct State {
        std::vector<StitchableItem> items;
        platform::Date date;
        mutable std::atomic<std::size_t> hash = 0; ///< 0: not computed yet
    };
    std::shared_ptr<State> state_;
};

/// "[", the groups' debug descriptions separated by ", ", "]".
std::string debugDescription(const std::vector<Group>& groups);

} // namespace velmorant

template <>
struct std::hash<velmorant::Group> {
    std::size_t operator()(const velmorant::Group& group) const noexcept;
};
