#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <thread>

/// What tests by chance have in common.
namespace chance {

/// A number that the environment sets, as in VELMORANT_ROUNDS=10000 for longer tests.
inline unsigned numberFrom(const char* variable, unsigned otherwise) {
    const char* asked = std::getenv(variable);
    return asked != nullptr ? static_cast<unsigned>(std::strtoul(asked, nullptr, 10)) : otherwise;
}

/// Delays that follow from a seed: the n-th call waits as long in every run, whichever thread makes it. Any thread.
class Delays {
public:
    explicit Delays(unsigned seed) : seed_(seed) {}

    void delay() {
        const unsigned number = next();
        if (number % 4 == 0)
            std::this_thread::sleep_for(std::chrono::microseconds(number / 4 % 300));
        else if (number % 4 == 1)
            std::this_thread::yield();
    }

    unsigned next() {
        std::uint64_t bits = (seed_ + (std::uint64_t{calls_++} << 32)) * 0x9e3779b97f4a7c15u;
        bits = (bits ^ bits >> 31) * 0xbf58476d1ce4e5b9u; // as in splitmix64
        return static_cast<unsigned>(bits >> 32);
    }

private:
    const unsigned seed_;
    std::atomic<unsigned> calls_ = 0;
};

} // namespace chance
