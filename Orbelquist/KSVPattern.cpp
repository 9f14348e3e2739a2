#include "Orbelquist/KSVPattern.hpp"

namespace orbelquist {

KSVPattern KSVPattern::normalizedPattern() const {
    KSVPattern other = *this;
    other.offset_ = -offset_;
    other.cropPoint_ = cropPoint_ + offset_;
    return other;
}

std::string KSVPattern::description() const {
    if (!valid_)
        return "invalid";
    return "offset " + std::to_string(offset_) + ", rows " + std::to_string(cropPoint_) + "..<" +
           std::to_string(cropPoint_ + overlap_);
}

std::string KSVPatternPair::description() const {
    return "(positive: " + positive.description() + ", negative: " + negative.description() + "; " +
           verdict.description() + ")";
}

} // namespace orbelquist
