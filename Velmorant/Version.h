#ifndef VELMORANT_VERSION_H
#define VELMORANT_VERSION_H

/* The library's version, for C and C++ alike; the build reads it here, too. docs/compatibility.md says what a change of
   each number means. */
#define VELMORANT_VERSION_MAJOR 0
#define VELMORANT_VERSION_MINOR 1
#define VELMORANT_VERSION_PATCH 0

/* For comparisons, as in #if VELMORANT_VERSION >= VELMORANT_MAKE_VERSION(0, 2, 0) */
#define VELMORANT_MAKE_VERSION(major, minor, patch) ((major) * 1000000 + (minor) * 1000 + (patch))
#define VELMORANT_VERSION                                                                                              \
    VELMORANT_MAKE_VERSION(VELMORANT_VERSION_MAJOR, VELMORANT_VERSION_MINOR, VELMORANT_VERSION_PATCH)

#endif
