#pragma once

#include "Velmorant/Model/Group.hpp"

#include <cstddef>
#include <functional>
#include <unordered_set>

namespace velmorant {

/// A group that came, at its place in the new list, or that went, from its place in the former one. Places count from
/// 0.
struct ChangeDescription {
    Group group;
    std::size_t index = 0;

    friend bool operator==(const ChangeDescription&, const ChangeDescription&) = default;
};

/// A group that stayed, at another place.
struct MoveDescription {
    Group group;
    std::size_t oldIndex = 0;
    std::size_t newIndex = 0;

    friend bool operator==(const MoveDescription&, const MoveDescription&) = default;
};

} // namespace velmorant

template <>
struct std::hash<velmorant::ChangeDescription> {
    std::size_t operator()(const velmorant::ChangeDescription& change) const noexcept {
        return velmorant::hashOf(change.group, change.index);
    }
};

template <>
struct std::hash<velmorant::MoveDescription> {
    std::size_t operator()(const velmorant::MoveDescription& move) const noexcept {
        return velmorant::hashOf(move.group, move.oldIndex, move.newIndex);
    }
};

namespace velmorant {

/// What leads from one list of groups to the next.
struct Change {
    std::unordered_set<ChangeDescription> additions;
    std::unordered_set<ChangeDescription> deletions;
    std::unordered_set<MoveDescription> moves;

    friend bool operator==(const Change&, const Change&) = default;
};

} // namespace velmorant
