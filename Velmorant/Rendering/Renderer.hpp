#pragma once

#include "Platform/UIKit/UIImage.hpp"
#include "Velmorant/Alignment/Alignment.hpp"

namespace velmorant {

/// Turns an alignment into one picture, from its top edge down. Without state; any thread, several at once.
class Renderer {
public:
    virtual ~Renderer() = default;

    /// Always answers an image; an empty one where there is nothing to draw on.
    virtual platform::UIImage render(const Alignment& alignment) const = 0;

    /// The same, fitted to a width and cut off at a height: at most `targetSize` points, at its scale. Only what shows
    /// is drawn. Empty where the alignment or the target has no width.
    platform::UIImage render(const Alignment& alignment, const PixelSize& targetSize) const;

protected:
    /// What `render` answers, perhaps not drawn yet: it is going to be scaled.
    virtual platform::UIImage picture(const Alignment& alignment) const { return render(alignment); }
};

} // namespace velmorant
