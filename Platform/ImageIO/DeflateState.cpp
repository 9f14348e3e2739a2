#include "Platform/ImageIO/DeflateState.hpp"

#include "Platform/Dispatch/Mutex.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace platform::png {

namespace {

// ISA-L's match finder (2.30, x86) begins with a slip: the slot of its hash table that belongs to a band's third byte
// is told by bits 16 to 47 of the state's address, where the bytes are meant. So the address decides, in one of some
// thousand bands, which of two equal stretches a later match refers to: the same pixels, other bytes, another file.
// Hence states lie at places that all have the same slot: it is the lower 15 bits of the CRC-32C of those bits of the
// address.

/// Bits 16 to 47 of addresses.
constexpr std::array<std::uint32_t, 32> places = {
    0x10000000, 0x1000d6cb, 0x10011b05, 0x1001cdce, 0x1002360a, 0x1002e0c1, 0x10032d0f, 0x1003fbc4,
    0x10046c14, 0x1004badf, 0x10057711, 0x1005a1da, 0x10065a1e, 0x10068cd5, 0x1007411b, 0x100797d0,
    0x10080ee3, 0x1008d828, 0x100915e6, 0x1009c32d, 0x100a38e9, 0x100aee22, 0x100b23ec, 0x100bf527,
    0x100c62f7, 0x100cb43c, 0x100d79f2, 0x100daf39, 0x100e54fd, 0x100e8236, 0x100f4ff8, 0x100f9933};

constexpr std::uint32_t slotOf(std::uint32_t place) {
    for (int bit = 0; bit < 32; ++bit)
        place = place >> 1 ^ (place & 1 ? 0x82f63b78u : 0);
    return place & 0x7fff;
}
static_assert(std::ranges::all_of(places, [](std::uint32_t place) { return slotOf(place) == slotOf(places[0]); }));

/// The places that are not in use, mapped as they are first needed.
class Pool {
public:
    isal_zstream* take() {
        const MutexLock lock(mutex_);
        for (;;) {
            while (free_.empty() && next_ < places.size())
                map(places[next_++]);
            if (!free_.empty())
                break;
            if (mapped_ == 0)
                return new isal_zstream; // nothing can be mapped there: as good, but for the sameness
            isFree_.wait(mutex_);
        }
        isal_zstream* const stream = free_.back();
        free_.pop_back();
        return stream;
    }

    void give(isal_zstream* stream) {
        const MutexLock lock(mutex_);
        free_.push_back(stream);
        isFree_.notifyOne();
    }

private:
    void map(std::uint32_t place) VELMORANT_REQUIRES(mutex_) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the number is what matters
        void* const address = reinterpret_cast<void*>(static_cast<std::uintptr_t>(place) << 16);
        // A wish only: that is heeded where nothing lies yet, and under ThreadSanitizer, which keeps its own memory
        // there, it leads elsewhere.
        void* const memory =
            mmap(address, sizeof(isal_zstream), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            return;
        if (memory != address) {
            munmap(memory, sizeof(isal_zstream));
            return;
        }
        ++mapped_;
        free_.push_back(static_cast<isal_zstream*>(memory));
    }

    Mutex mutex_;
    Condition isFree_;
    std::size_t next_ VELMORANT_GUARDED_BY(mutex_) = 0;
    std::size_t mapped_ VELMORANT_GUARDED_BY(mutex_) = 0;
    std::vector<isal_zstream*> free_ VELMORANT_GUARDED_BY(mutex_);
};

Pool& pool() {
    static Pool* const shared = new Pool; // outlives threads that still write at the program's end
    return *shared;
}

} // namespace

DeflateState::DeflateState() : stream_(pool().take()) {}

DeflateState::~DeflateState() {
    pool().give(stream_);
}

} // namespace platform::png
