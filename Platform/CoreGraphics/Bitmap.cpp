#include "Platform/CoreGraphics/Bitmap.hpp"

#include <sys/mman.h>

#include <cstdlib>
#include <new>

namespace platform {

namespace {

/// Memory that is touched for the first time costs a third of a millisecond a megabyte in pages of 4 KiB, a third of
/// that in huge ones, which the kernel gives to aligned memory that asks for them.
constexpr std::size_t hugePage = std::size_t{2} << 20;

} // namespace

Bitmap::Memory Bitmap::allocate(std::size_t bytes) {
    if (bytes < hugePage) {
        void* memory = std::malloc(bytes > 0 ? bytes : 1);
        return memory ? Memory(static_cast<std::uint8_t*>(memory)) : throw std::bad_alloc();
    }
    const std::size_t whole = bytes / hugePage * hugePage; // the rest takes no more memory than it needs
    void* memory = std::aligned_alloc(hugePage, whole + hugePage);
    if (!memory)
        throw std::bad_alloc();
    madvise(memory, whole, MADV_HUGEPAGE); // where there are none, small ones do
    return Memory(static_cast<std::uint8_t*>(memory));
}

void Bitmap::Free::operator()(std::uint8_t* memory) const {
    std::free(memory);
}

} // namespace platform
