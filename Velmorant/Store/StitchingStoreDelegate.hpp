#pragma once

#include "Velmorant/Pipeline/Change.hpp"

#include <optional>

namespace velmorant {

/// Hears of changes of a store's groups; the application implements it. Called on the main queue.
class StitchingStoreDelegate {
public:
    virtual ~StitchingStoreDelegate() = default;

    /// The store's groups are others now; `change` leads from the former to the new ones and is always there. A list
    /// without groups is announced each time.
    virtual void didUpdateGroups(const std::optional<Change>& change) = 0;
};

} // namespace velmorant
