# One target that every target of ours links privately and that is never exported.
add_library(VelmorantWarnings INTERFACE)
target_compile_options(VelmorantWarnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
  $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>
  -Wno-missing-field-initializers # a designated initializer names what matters and leaves the rest to its default
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict> # GCC 12 sees overlaps in "text" + std::string that are not there
  $<$<CXX_COMPILER_ID:Clang>:-Wshadow>
  $<$<CXX_COMPILER_ID:Clang>:-Wno-deprecated-declarations> # std::stable_sort of GCC 12 uses what C++17 deprecates
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
  $<$<BOOL:${VELMORANT_WERROR}>:-Werror>)
