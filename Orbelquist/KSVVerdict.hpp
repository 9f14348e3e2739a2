#pragma once

#include <cstdint>
#include <string>

namespace orbelquist {

/// Why two consecutive images match or do not.
struct KSVVerdict {
    enum class Kind : std::uint8_t {
        unreadable,    ///< one of them cannot be read
        otherWidth,    ///< their widths differ
        matched,       ///< the content pins the offset
        byNeighbours,  ///< the pairs that each makes with a frame beside them tell the offset, and it contradicts none
        sameView,      ///< they show the same rows, and the content pins these
        unpinnedView,  ///< they show the same rows, but blank ones or ones that repeat
        nothingCommon, ///< no place at which anything to speak of agrees
        contradicted,  ///< at the best place too much shows other content
        open,          ///< another place fits as well
        repeated,      ///< all that agrees occurs elsewhere in one of them, too
        crept,         ///< a move by a few rows explains them better
    };

    Kind kind = Kind::unreadable;
    std::int64_t offset = 0;        ///< of the best place; 0 where none was found
    std::int64_t otherOffset = 0;   ///< of the place that fits as well, or of the runner-up; 0 where there is none
    std::int64_t rows = 0;          ///< over which the page is seen to lie there
    std::int64_t agreeing = 0;      ///< blocks of content that are alike there
    std::int64_t contradicting = 0; ///< blocks that are not, bars left out
    std::int64_t runnerUp = 0;      ///< blocks alike at the runner-up, less thrice those that are not, and bars
    std::int64_t topBar = 0, bottomBar = 0; ///< rows of the screen that stand still

    bool valid() const { return kind == Kind::matched || kind == Kind::byNeighbours || kind == Kind::sameView; }

    /// From 0 to 1; 0 for what is not valid. The part of the evidence that speaks for the offset: blocks alike over
    /// these, three times those that contradict, what the runner-up has, and ten for what was not seen. A half where
    /// neighbours told it.
    double confidence() const;

    /// A word for programs, as in "repeated".
    const char* name() const;

    /// For people, in plain words.
    std::string description() const;
};

} // namespace orbelquist
