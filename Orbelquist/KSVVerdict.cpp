#include "Orbelquist/KSVVerdict.hpp"

#include <algorithm>
#include <cstdlib>

namespace orbelquist {

namespace {

std::string placeOf(std::int64_t offset) {
    return std::to_string(std::abs(offset)) + (offset < 0 ? " rows above" : " rows below");
}

} // namespace

double KSVVerdict::confidence() const {
    if (!valid())
        return 0;
    if (kind == Kind::sameView)
        return 1;
    if (kind == Kind::byNeighbours)
        return 0.5;
    constexpr double unseen = 10, each = 3;
    const auto alike = static_cast<double>(agreeing);
    const auto rest =
        each * static_cast<double>(contradicting) + static_cast<double>(std::max<std::int64_t>(0, runnerUp));
    return alike / (alike + rest + unseen);
}

const char* KSVVerdict::name() const {
    switch (kind) {
    case Kind::unreadable:
        return "unreadable";
    case Kind::otherWidth:
        return "otherWidth";
    case Kind::matched:
        return "matched";
    case Kind::byNeighbours:
        return "byNeighbours";
    case Kind::sameView:
        return "sameView";
    case Kind::unpinnedView:
        return "unpinnedView";
    case Kind::nothingCommon:
        return "nothingCommon";
    case Kind::contradicted:
        return "contradicted";
    case Kind::open:
        return "open";
    case Kind::repeated:
        return "repeated";
    case Kind::crept:
        break;
    }
    return "crept";
}

std::string KSVVerdict::description() const {
    switch (kind) {
    case Kind::unreadable:
        return "one of the two cannot be read";
    case Kind::otherWidth:
        return "their widths differ";
    case Kind::matched:
        return "the second starts " + placeOf(offset) + " the first; " + std::to_string(rows) +
               " rows of the page agree" +
               (contradicting > 0 ? ", with " + std::to_string(contradicting) + " of " +
                                        std::to_string(agreeing + contradicting) + " pieces covered or changed"
                                  : "");
    case Kind::byNeighbours:
        return "the second starts " + placeOf(offset) + " the first, as the screenshots beside them tell";
    case Kind::sameView:
        return "they show the same rows";
    case Kind::unpinnedView:
        return "they show the same rows, but these are blank or repeat, so that the offset is open";
    case Kind::nothingCommon:
        return "no rows in common";
    case Kind::contradicted:
        return "no rows in common for certain: at the likeliest place, " + placeOf(offset) + ", " +
               std::to_string(agreeing) + " pieces agree and " + std::to_string(contradicting) + " do not";
    case Kind::open:
        return "two offsets fit equally well, " + placeOf(offset) + " and " + placeOf(otherOffset) +
               ": a list that repeats every " + std::to_string(std::abs(offset - otherOffset)) + " rows?";
    case Kind::repeated:
        return "all " + std::to_string(rows) + " rows that agree, " + placeOf(offset) +
               ", occur a second time in one of them: they may be another part of the page";
    case Kind::crept:
        break;
    }
    return "the page may have moved by a few rows only, or by " + std::to_string(std::abs(offset));
}

} // namespace orbelquist
