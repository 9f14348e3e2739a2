#pragma once

#include "Orbelquist/KSVLazyImage.hpp"
#include "Orbelquist/KSVPattern.hpp"

#include <functional>
#include <memory>
#include <vector>

namespace orbelquist {

/// Finds where consecutive screenshots of one scrolled page overlap. Stateless; any thread, several requests at once.
class KSVPatternMaker {
public:
    using Images = std::vector<std::shared_ptr<KSVLazyImage>>;
    using Completion = std::function<void(std::vector<KSVPatternPair>)>;

    /// Answers one pair for every two consecutive images, in order: pair k matches image k with image k + 1. Returns at
    /// once; `completion` is called once, on a thread of the pool. Each image is loaded and read once, top to bottom,
    /// with no more than a handful in memory; an image that cannot be read matches nothing.
    void patternsForImages(Images images, Completion completion) const;
};

} // namespace orbelquist
