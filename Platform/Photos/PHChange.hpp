#pragma once

#include "Platform/Photos/PHFetchResult.hpp"

#include <optional>
#include <string>
#include <vector>

namespace platform {

/// How what a fetch found differs from what it would find now.
struct PHFetchResultChangeDetails {
    std::vector<std::string> insertedObjects; ///< local identifiers
    std::vector<std::string> removedObjects;
    std::vector<std::string> changedObjects;
};

/// Tells an observer that the library has changed, by this process or another.
class PHChange {
public:
    /// Nothing where no object of the fetch came, went or changed since. Costs the changes, not the library's size, as
    /// long as the access stays the same.
    std::optional<PHFetchResultChangeDetails> changeDetails(const PHFetchResult& before) const;
};

/// Hears of changes, on a thread of the library's own, one change after the other.
class PHPhotoLibraryChangeObserver {
public:
    virtual ~PHPhotoLibraryChangeObserver() = default;
    virtual void photoLibraryDidChange(const PHChange& change) = 0;
};

} // namespace platform
