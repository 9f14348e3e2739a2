#pragma once

#include "Platform/Photos/PHAsset.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace platform {

struct AssetQuery;

/// What a fetch of assets found, with what is needed to tell later what has changed since. A cheap handle, immutable.
class PHFetchResult {
public:
    const std::vector<PHAsset>& assets() const& { return state_->assets; }
    std::vector<PHAsset> assets() && { return state_->assets; } ///< safe in a loop over a fetch
    std::size_t count() const { return assets().size(); }
    std::optional<PHAsset> firstObject() const {
        return assets().empty() ? std::nullopt : std::optional(assets().front());
    }

    /// `changeNumber` counts the library's changes up to the moment of the fetch.
    PHFetchResult(std::vector<PHAsset> assets, std::shared_ptr<const AssetQuery> query, std::int64_t changeNumber)
        : state_(std::make_shared<const State>(State{std::move(assets), std::move(query), changeNumber})) {}
    const std::shared_ptr<const AssetQuery>& query() const { return state_->query; }
    std::int64_t changeNumber() const { return state_->changeNumber; }

private:
    struct State {
        std::vector<PHAsset> assets;
        std::shared_ptr<const AssetQuery> query;
        std::int64_t changeNumber;
    };
    std::shared_ptr<const State> state_;
};

} // namespace platform
