#pragma once

#include "Host/ImageFiles.hpp"
#include "Orbelquist/KSVPattern.hpp"
#include "Platform/Dispatch/Mutex.hpp"
#include "Velmorant/Alignment/Alignment.hpp"
#include "Velmorant/Model/Group.hpp"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace host {

/// What was found between two consecutive screenshots of a group.
struct Seam {
    velmorant::StitchableItem upper, lower; ///< as they lie, where that is known; else in the group's order
    std::int64_t offset = 0;                ///< rows from the top of the one to the top of the other
    orbelquist::KSVVerdict verdict;
    bool byHand = false;

    bool valid() const { return byHand || verdict.valid(); }
    /// For people: why, and for a seam that failed what to do.
    std::string reason() const;
};

/// A screenshot's top edge, in rows below the top edge of the screenshot before it; negative: above.
struct Place {
    std::filesystem::path path;
    std::int64_t rows = 0;
};

struct Bars {
    std::int64_t top = 0, bottom = 0; ///< rows
};

/// What the matcher found in every group that was matched, but for the places given by hand. Any thread.
class Seams {
public:
    using Pairs = std::vector<orbelquist::KSVPatternPair>;

    Seams(std::shared_ptr<const ImageFiles> files, std::vector<Place> places)
        : files_(std::move(files)), places_(std::move(places)) {}

    /// Corrects the pairs where an item was placed by hand, and keeps all.
    void take(const velmorant::Group& group, Pairs& pairs);

    /// In the group's order; none for a group that was not matched in this run.
    std::vector<Seam> of(const velmorant::Group& group) const;

    /// The bars that stand still at the top of the uppermost screenshot and at the bottom of the lowest one, in rows of
    /// the canvas; none for a group that was not matched in this run.
    Bars barsOf(const velmorant::Group& group, const velmorant::Alignment& alignment) const;

private:
    const Place* placeOf(const velmorant::StitchableItem& item) const;

    const std::shared_ptr<const ImageFiles> files_;
    const std::vector<Place> places_;
    mutable platform::Mutex mutex_;
    std::unordered_map<std::string, std::vector<Seam>> seams_ VELMORANT_GUARDED_BY(mutex_); ///< by the group's id
};

} // namespace host
