#pragma once

#include "Platform/UIKit/UIImage.hpp"
#include "Velmorant/Alignment/Alignment.hpp"

#include <functional>
#include <optional>
#include <unordered_map>

namespace velmorant {

/// Rendered images, kept in memory until they are replaced or removed. A plain value without a lock.
class RenderCache {
public:
    struct CacheKey {
        Alignment alignment;
        PixelSize size; ///< as it was asked for, its scale included

        friend bool operator==(const CacheKey&, const CacheKey&) = default;
    };

    std::optional<platform::UIImage> image(const CacheKey& key) const;
    /// Nothing removes what is there.
    void setImage(const CacheKey& key, std::optional<platform::UIImage> image);
    void clear() { cache_.clear(); }

private:
    struct KeyHash {
        std::size_t operator()(const CacheKey& key) const noexcept;
    };
    std::unordered_map<CacheKey, platform::UIImage, KeyHash> cache_;
};

} // namespace velmorant

template <>
struct std::hash<velmorant::RenderCache::CacheKey> {
    std::size_t operator()(const velmorant::RenderCache::CacheKey& key) const noexcept {
        return velmorant::hashOf(key.alignment, key.size);
    }
};
