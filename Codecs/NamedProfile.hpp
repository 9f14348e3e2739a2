#pragma once

#include <cstddef>
#include <vector>

namespace codecs {

/// An ICC profile for colours that a file names by the numbers of ITU-T H.273, of primaries and of transfer. Empty for
/// sRGB, and for numbers that mean no RGB of a screen.
std::vector<std::byte> namedProfile(int primaries, int transfer);

} // namespace codecs
