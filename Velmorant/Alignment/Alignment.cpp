#include "Velmorant/Alignment/Alignment.hpp"

#include <algorithm>
#include <tuple>
#include <unordered_map>

namespace velmorant {

namespace {

std::vector<Alignment::Entry> withoutRepeats(std::vector<Alignment::Entry> entries) {
    std::unordered_map<StitchableItem, std::size_t> places;
    std::vector<Alignment::Entry> kept;
    kept.reserve(entries.size());
    for (Alignment::Entry& entry : entries) {
        const auto [place, isNew] = places.try_emplace(entry.first, kept.size());
        if (isNew)
            kept.push_back(std::move(entry));
        else
            kept[place->second].second = entry.second;
    }
    return kept;
}

auto orderOf(const Alignment::Entry& entry) {
    const auto& [item, position] = entry;
    return std::tuple(position.offset, position.globalOverlap.lower - position.localOverlap.lower,
                      position.globalOverlap.lower, std::string_view(item.id));
}

std::string describe(const RowRange& range) {
    return "Range(" + std::to_string(range.lower) + "..<" + std::to_string(range.upper) + ")";
}

} // namespace

std::string Position::debugDescription() const {
    return "Velmorant.Position(offset: " + std::to_string(offset) + ", localOverlap: " + describe(localOverlap) +
           ", globalOverlap: " + describe(globalOverlap) + ")";
}

Alignment::Alignment(std::vector<Entry> positions, PixelSize size)
    : positions_(withoutRepeats(std::move(positions))), size_(size) {
    std::ranges::stable_sort(positions_, {}, orderOf);
}

const Position* Alignment::position(const StitchableItem& item) const {
    const auto entry = std::ranges::find(positions_, item, &Entry::first);
    return entry == positions_.end() ? nullptr : &entry->second;
}

std::string Alignment::debugDescription() const {
    std::string text = "Alignment:\nPositions:[";
    for (const auto& [item, position] : positions_) {
        if (&item != &positions_.front().first)
            text += ", ";
        text += "(" + item.debugDescription() + ", " + position.debugDescription() + ")";
    }
    return text + "]\nSize:Size<Int>(width: " + std::to_string(size_.width) +
           ", height: " + std::to_string(size_.height) + ", scale: " + std::to_string(size_.scale) + ")";
}

} // namespace velmorant

std::size_t std::hash<velmorant::Alignment>::operator()(const velmorant::Alignment& alignment) const noexcept {
    std::size_t seed = 0;
    for (const auto& [item, position] : alignment.positions()) {
        seed = velmorant::combineHash(seed, std::hash<velmorant::StitchableItem>()(item));
        seed = velmorant::combineHash(seed, std::hash<velmorant::Position>()(position));
    }
    return velmorant::combineHash(seed, std::hash<velmorant::PixelSize>()(alignment.size()));
}
