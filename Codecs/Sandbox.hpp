#pragma once

#include <cstdint>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VELMORANT_SANITIZED
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VELMORANT_SANITIZED
#endif

namespace codecs {

#ifdef VELMORANT_SANITIZED
inline constexpr bool isSanitized = true; // its shadow memory takes terabytes of addresses, its reports more calls
#else
inline constexpr bool isSanitized = false;
#endif

/// From now on this process can open, make and remove no file and, with newer kernels, bind and connect to no TCP port.
/// False where the kernel has no such promise (Landlock).
bool forbidFiles();

/// Gives up all that decoding does not need: files, programs, the network, more than `memory` bytes beyond the program
/// itself, and more processor time than `seconds`. What the kernel does not offer is left out. A sanitized program
/// keeps all but its processor time.
void enterSandbox(std::int64_t memory, unsigned seconds);

} // namespace codecs
