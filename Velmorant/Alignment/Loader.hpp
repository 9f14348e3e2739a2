#pragma once

#include "Platform/UIKit/UIImage.hpp"
#include "Velmorant/Model/StitchableItem.hpp"

#include <functional>
#include <optional>

namespace velmorant {

/// Where the library gets an item's full image from; the application implements it. Called on any thread, on several at
/// once.
class Loader {
public:
    using Completion = std::function<void(std::optional<platform::UIImage>)>;

    virtual ~Loader() = default;

    /// Calls `completion` once, with the item's image, upright and at scale 1, or with nothing where there is none.
    /// With `synchronous`, as every call of the library has it, before it returns.
    virtual void loadImage(const StitchableItem& item, bool synchronous, const Completion& completion) = 0;
};

} // namespace velmorant
