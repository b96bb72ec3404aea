// Macros for clang's thread-safety attributes (-Wthread-safety); empty for other compilers.
#pragma once

#if defined(__clang__)
#define WEVORA_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define WEVORA_THREAD_ATTRIBUTE(x)
#endif

#define CAPABILITY(x) WEVORA_THREAD_ATTRIBUTE(capability(x))
#define SCOPED_CAPABILITY WEVORA_THREAD_ATTRIBUTE(scoped_lockable)
#define GUARDED_BY(x) WEVORA_THREAD_ATTRIBUTE(guarded_by(x))
#define REQUIRES(...) WEVORA_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) WEVORA_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS WEVORA_THREAD_ATTRIBUTE(no_thread_safety_analysis)
#define ACQUIRE(...) WEVORA_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define RELEASE(...) WEVORA_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
