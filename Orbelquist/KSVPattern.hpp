#pragma once

#include "Orbelquist/KSVVerdict.hpp"

#include <cstdint>
#include <string>

namespace orbelquist {

/// How two consecutive images of one page lie to each other, in rows. An immutable value.
///
/// `offset` counts from the top of the first image to the top of the second. The rows `cropPoint` … `cropPoint` +
/// `overlap` of the lower image (the one that lies lower on the page) are a band in which both images show the same
/// moving content, never a bar that stands still.
class KSVPattern {
public:
    /// A match that is not valid.
    KSVPattern() = default;
    KSVPattern(std::int64_t offset, std::int64_t cropPoint, std::int64_t overlap)
        : valid_(true), offset_(offset), cropPoint_(cropPoint), overlap_(overlap) {}

    /// A promise: the images belong together at exactly this offset.
    bool valid() const { return valid_; }
    std::int64_t offset() const { return offset_; }
    std::int64_t cropPoint() const { return cropPoint_; }
    std::int64_t overlap() const { return overlap_; } ///< at least 1 where valid

    /// The same match told from the other side, second image first: the offset negated, `cropPoint` in the frame of the
    /// image that is then the lower one.
    KSVPattern normalizedPattern() const;

    std::string description() const;

    friend bool operator==(const KSVPattern&, const KSVPattern&) = default;

private:
    bool valid_ = false;
    std::int64_t offset_ = 0;
    std::int64_t cropPoint_ = 0;
    std::int64_t overlap_ = 0;
};

/// The two candidates for one pair of consecutive images.
struct KSVPatternPair {
    KSVPattern positive; ///< the second image lies below the first: offset at least 1, or 0 within a run
    KSVPattern negative; ///< the second image lies above the first: offset 0 or less

    KSVVerdict verdict; ///< why; two pairs are equal whatever it says

    std::string description() const;

    friend bool operator==(const KSVPatternPair& a, const KSVPatternPair& b) {
        return a.positive == b.positive && a.negative == b.negative;
    }
};

} // namespace orbelquist
