#pragma once

#include "Velmorant/Alignment/Position.hpp"
#include "Velmorant/Model/StitchableItem.hpp"

#include <string>
#include <utility>
#include <vector>

namespace velmorant {

/// Where each item of a group lies in one tall canvas, and how big that is. Immutable once made. An item that was left
/// out has no position.
class Alignment {
public:
    using Entry = std::pair<StitchableItem, Position>;

    /// Of entries for one item the last counts; nothing else is checked.
    Alignment(std::vector<Entry> positions, PixelSize size);

    /// One entry an item, ordered by offset, then by the offset of the item it was matched with (the lower bound of
    /// `globalOverlap` minus that of `localOverlap`), then by the lower bound of `globalOverlap`, then by item id:
    /// equal input gives equal bytes, and of equal shots each follows the one before it in its run.
    const std::vector<Entry>& positions() const { return positions_; }

    /// Null where the item was left out.
    const Position* position(const StitchableItem& item) const;

    /// The canvas.
    PixelSize size() const { return size_; }

    std::string debugDescription() const;

    friend bool operator==(const Alignment&, const Alignment&) = default;

private:
    std::vector<Entry> positions_;
    PixelSize size_;
};

} // namespace velmorant

template <>
struct std::hash<velmorant::Alignment> {
    std::size_t operator()(const velmorant::Alignment& alignment) const noexcept;
};
