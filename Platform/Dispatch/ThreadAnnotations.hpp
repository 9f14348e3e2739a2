#pragma once

// What guards what, for clang's -Wthread-safety; nothing for other compilers.
#if defined(__clang__)
#define VELMORANT_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define VELMORANT_THREAD_ATTRIBUTE(x)
#endif

#define VELMORANT_CAPABILITY(name) VELMORANT_THREAD_ATTRIBUTE(capability(name))
#define VELMORANT_SCOPED_CAPABILITY VELMORANT_THREAD_ATTRIBUTE(scoped_lockable)
#define VELMORANT_GUARDED_BY(mutex) VELMORANT_THREAD_ATTRIBUTE(guarded_by(mutex))
#define VELMORANT_REQUIRES(...) VELMORANT_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define VELMORANT_EXCLUDES(...) VELMORANT_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define VELMORANT_ACQUIRE(...) VELMORANT_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define VELMORANT_RELEASE(...) VELMORANT_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
