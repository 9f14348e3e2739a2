#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// A condition on an asset's properties: `format` compares "mediaSubtype", "creationDate" (seconds since 2001-01-01
/// UTC), "pixelWidth" and "pixelHeight" with numbers, each "%d" standing for the next of `arguments`, by the operators
/// & | = != < > <= >= and brackets. Anything else holds for no asset.
struct NSPredicate {
    std::string format;
    std::vector<std::int64_t> arguments = {};
};

/// An order by one of those properties. Assets without a creation date come before all others.
struct NSSortDescriptor {
    std::string key;
    bool ascending = true;
};

/// Which assets a fetch answers, and in what order. Without an order: an album's own, else that of their arrival.
struct PHFetchOptions {
    std::optional<NSPredicate> predicate = {};
    std::vector<NSSortDescriptor> sortDescriptors = {};
};

} // namespace platform
