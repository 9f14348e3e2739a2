#pragma once

namespace orbelquist {

/// What the kernels are built for. Which of them runs is decided once, here: the SIMD library's own run-time dispatch
/// would cost the process more time to load than a whole match.
enum class InstructionSet { portable, sse4, avx2 };

/// The best of this machine, unless a test has chosen another.
InstructionSet instructionSet();

/// For tests: from now on, as far as this machine has it. Answers whether it has.
bool useInstructionSet(InstructionSet set);

} // namespace orbelquist
