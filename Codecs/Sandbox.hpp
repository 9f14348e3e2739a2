#pragma once

#include <cstdint>

namespace codecs {

/// Gives up all that decoding does not need: files, programs, the network, more than `memory` bytes beyond the program
/// itself, and more processor time than `seconds`. What the kernel does not offer is left out.
void enterSandbox(std::int64_t memory, unsigned seconds);

} // namespace codecs
