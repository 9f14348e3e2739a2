#include "Orbelquist/KSVPatternMaker.hpp"

#include "Platform/Dispatch/DispatchQueue.hpp"

namespace orbelquist {

void KSVPatternMaker::patternsForImages(Images images, Completion completion) const {
    platform::DispatchQueue::global().async([images = std::move(images), completion = std::move(completion)] {
        completion(std::vector<KSVPatternPair>(images.empty() ? 0 : images.size() - 1));
    });
}

} // namespace orbelquist
