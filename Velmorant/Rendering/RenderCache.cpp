#include "Velmorant/Rendering/RenderCache.hpp"

namespace velmorant {

std::size_t RenderCache::KeyHash::operator()(const CacheKey& key) const noexcept {
    return std::hash<CacheKey>()(key);
}

std::optional<platform::UIImage> RenderCache::image(const CacheKey& key) const {
    const auto found = cache_.find(key);
    return found == cache_.end() ? std::nullopt : std::optional(found->second);
}

void RenderCache::setImage(const CacheKey& key, std::optional<platform::UIImage> image) {
    if (image)
        cache_.insert_or_assign(key, std::move(*image));
    else
        cache_.erase(key);
}

} // namespace velmorant
