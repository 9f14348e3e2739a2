#pragma once

#include "Platform/UIKit/UIImage.hpp"
#include "Velmorant/Alignment/Alignment.hpp"

namespace velmorant {

/// Turns an alignment into one picture, from its top edge down. Without state; any thread.
class Renderer {
public:
    virtual ~Renderer() = default;
    virtual platform::UIImage render(const Alignment& alignment) const = 0;
};

} // namespace velmorant
