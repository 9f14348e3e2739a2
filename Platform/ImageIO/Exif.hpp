#pragma once

#include "Platform/ImageIO/CGImageDestination.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"

#include <cstddef>
#include <span>
#include <vector>

namespace platform::exif {

/// Six bytes that stand before the block in a JPEG file and are left out elsewhere.
inline constexpr char prefix[] = {'E', 'x', 'i', 'f', '\0', '\0'};

/// Takes orientation, capture date, software and whether it is of a camera from an Exif block, with or without its
/// prefix, as far as they make sense; a damaged block says nothing.
void read(std::span<const std::byte> block, ImageProperties& properties);

/// An Exif block, with its prefix, that holds the header's capture date and software.
std::vector<std::byte> block(const ImageHeader& header);

} // namespace platform::exif
