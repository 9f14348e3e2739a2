#pragma once

#include "Platform/Photos/PHFetchResult.hpp"
#include "Platform/Photos/PhotoCatalogue-inl.hpp"

#include <optional>
#include <string>
#include <vector>

namespace platform {

/// One fetch of assets, to be made now and again.
struct AssetQuery {
    enum class Deleted { no, yes };

    PHFetchOptions options = {};
    std::optional<std::string> collection = {};               ///< an album's local identifier
    std::optional<std::vector<std::string>> identifiers = {}; ///< only these
    std::optional<std::string> contentHash = {};              ///< only those
    Deleted deleted = Deleted::no;                            ///< `yes`: whatever the access
};

/// What the query finds, in its order.
std::vector<PHAsset> assetsOf(const AssetQuery& query, SQLite::Database& database);

/// The same, with the number of the last change; within a transaction of its own. Failures answer nothing.
PHFetchResult fetch(AssetQuery query);

} // namespace platform
