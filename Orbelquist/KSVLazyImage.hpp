#pragma once

#include "Platform/UIKit/UIImage.hpp"

#include <functional>
#include <optional>
#include <string>

namespace orbelquist {

/// An image that is loaded when it is asked for.
class KSVLazyImage {
public:
    virtual ~KSVLazyImage() = default;

    /// Calls `block` once, with the image or with nothing, before it returns. Any thread.
    virtual void loadImage(const std::function<void(std::optional<platform::UIImage>)>& block) = 0;

    virtual std::string description() const = 0;
};

} // namespace orbelquist
