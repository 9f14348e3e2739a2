#include "Orbelquist/Places.hpp"

#include "Orbelquist/Bounds.hpp"
#include "Orbelquist/Candidates.hpp"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>

namespace orbelquist {

namespace {

/// Shifts within half a line of text of each other, one of so many of the screen's rows, share the letters' upright
/// strokes: they are one place.
constexpr std::int64_t strokesPerScreen = 100;
/// No screen is so many times as high as wide; a picture that is shows some of them.
constexpr std::int64_t tallestScreen = 4;

/// A place with less than this part, in percent, of the agreement of one that holds is not examined: it neither beats
/// it nor leaves it open.
constexpr std::int64_t negligible = 25;

} // namespace

std::int64_t strokeOf(const FramePair& pair) {
    const std::int64_t height = std::min({pair.a().height, pair.b().height, tallestScreen * pair.a().width});
    return height / strokesPerScreen;
}

Places examinePlaces(const FramePair& pair, std::int64_t leastAlike) {
    Places places;
    const auto consider = [&](const Stretch& candidate) {
        const auto examined = examine(pair, candidate.shift);
        if (!examined)
            return;
        if (examined->agreeing >= leastAlike && holds(*examined, pair)) {
            places.held.push_back(*examined);
        } else {
            places.refused.push_back(*examined);
            if (!places.likeliest || examined->atBest() > places.likeliest->atBest())
                places.likeliest = examined;
        }
    };
    std::vector<Stretch> stretches = sampledStretches(pair);
    const std::optional<Stretch> first = bestOf(pair, stretches);
    if (!first)
        return places;
    consider(*first);
    const std::int64_t least = places.held.empty() ? 0 : first->agreeing * negligible / 100;
    for (const Stretch& candidate : candidates(pair, std::move(stretches), least))
        if (candidate.shift != first->shift)
            consider(candidate);

    const std::int64_t stroke = strokeOf(pair);
    if (auto& [held, refused, likeliest] = places; held.empty() && likeliest) { // it may if nothing else comes near
        const auto isRival = [&](const Examination& other) {
            return std::abs(other.shift - likeliest->shift) > stroke &&
                   (other.evidence() - other.against()) * 100 > likeliest->evidence() * negligible;
        };
        if (likeliest->agreeing >= leastAlike && holds(*likeliest, pair, std::ranges::none_of(refused, isRival)))
            held.push_back(*likeliest);
    }
    return places;
}

} // namespace orbelquist
