#include "Orbelquist/Kernels/InstructionSet.hpp"

#include <atomic>

namespace orbelquist {

namespace {

InstructionSet bestOfMachine() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("fma"))
        return InstructionSet::avx2;
    if (__builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("popcnt"))
        return InstructionSet::sse4;
#endif
    return InstructionSet::portable;
}

std::atomic<InstructionSet>& chosen() {
    static std::atomic<InstructionSet> set = bestOfMachine();
    return set;
}

} // namespace

InstructionSet instructionSet() {
    return chosen().load(std::memory_order_relaxed);
}

bool useInstructionSet(InstructionSet set) {
    const bool isThere = set <= bestOfMachine();
    if (isThere)
        chosen() = set;
    return isThere;
}

} // namespace orbelquist
