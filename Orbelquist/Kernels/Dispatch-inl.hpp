// Included at the end of a kernel's source, where it is compiled for the last time: ORBELQUIST_DISPATCH(function) is
// the function built for the instruction set in use.
#pragma once

#include "Orbelquist/Kernels/InstructionSet.hpp"

#include <hwy/highway.h>

#if HWY_TARGETS & HWY_AVX2
#define ORBELQUIST_IF_AVX2(function)                                                                                   \
    orbelquist::instructionSet() == orbelquist::InstructionSet::avx2 ? N_AVX2::function:
#else
#define ORBELQUIST_IF_AVX2(function)
#endif

#if HWY_TARGETS & HWY_SSE4
#define ORBELQUIST_IF_SSE4(function)                                                                                   \
    orbelquist::instructionSet() == orbelquist::InstructionSet::sse4 ? N_SSE4::function:
#else
#define ORBELQUIST_IF_SSE4(function)
#endif

#define ORBELQUIST_DISPATCH(function)                                                                                  \
    (ORBELQUIST_IF_AVX2(function) ORBELQUIST_IF_SSE4(function) HWY_STATIC_DISPATCH(function))
