#pragma once

#include <optional>
#include <string>
#include <vector>

namespace platform {

/// An album: assets in an order.
class PHAssetCollection {
public:
    PHAssetCollection(std::string localIdentifier, std::optional<std::string> localizedTitle)
        : localIdentifier_(std::move(localIdentifier)), localizedTitle_(std::move(localizedTitle)) {}

    const std::string& localIdentifier() const { return localIdentifier_; }
    const std::optional<std::string>& localizedTitle() const { return localizedTitle_; }

private:
    std::string localIdentifier_;
    std::optional<std::string> localizedTitle_;
};

/// A node of the tree of collections: an album, or a folder of nodes.
class PHCollection {
public:
    enum class Kind : int { album = 0, folder = 1 }; ///< the values are stored

    PHCollection(Kind kind, std::string localIdentifier, std::optional<std::string> localizedTitle)
        : kind_(kind), localIdentifier_(std::move(localIdentifier)), localizedTitle_(std::move(localizedTitle)) {}

    Kind kind() const { return kind_; }
    const std::string& localIdentifier() const { return localIdentifier_; }
    const std::optional<std::string>& localizedTitle() const { return localizedTitle_; }

    /// Nothing for a folder.
    std::optional<PHAssetCollection> assetCollection() const {
        return kind_ == Kind::album ? std::optional(PHAssetCollection(localIdentifier_, localizedTitle_))
                                    : std::nullopt;
    }

    // One query each, in the order in which the collections were made; any thread. Nothing without access.

    static std::vector<PHCollection> fetchTopLevelUserCollections();
    static std::vector<PHCollection> fetchCollections(const PHCollection& inFolder);

private:
    Kind kind_;
    std::string localIdentifier_;
    std::optional<std::string> localizedTitle_;
};

} // namespace platform
