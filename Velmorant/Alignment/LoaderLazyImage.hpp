#pragma once

#include "Orbelquist/KSVLazyImage.hpp"
#include "Velmorant/Alignment/Loader.hpp"

#include <memory>

namespace velmorant {

/// Hands an item's image to the pattern maker on demand. Holds no image: it is loaded each time it is asked for.
class LoaderLazyImage final : public orbelquist::KSVLazyImage {
public:
    LoaderLazyImage(StitchableItem item, std::shared_ptr<Loader> loader)
        : item_(std::move(item)), loader_(std::move(loader)) {}

    void loadImage(const std::function<void(std::optional<platform::UIImage>)>& block) override {
        loader_->loadImage(item_, true, block);
    }

    /// The item's id.
    std::string description() const override { return item_.id; }

private:
    const StitchableItem item_;
    const std::shared_ptr<Loader> loader_;
};

} // namespace velmorant
