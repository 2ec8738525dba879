#pragma once

// Names for Clang's thread-safety analysis; nothing to any other compiler.

#if defined(__clang__)
#define VEKSSD_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define VEKSSD_THREAD_ANNOTATION(x)
#endif

#define VEKSSD_CAPABILITY(name) VEKSSD_THREAD_ANNOTATION(capability(name))
#define VEKSSD_SCOPED_CAPABILITY VEKSSD_THREAD_ANNOTATION(scoped_lockable)
#define VEKSSD_GUARDED_BY(x) VEKSSD_THREAD_ANNOTATION(guarded_by(x))
#define VEKSSD_REQUIRES(...) VEKSSD_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define VEKSSD_EXCLUDES(...) VEKSSD_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define VEKSSD_RETURN_CAPABILITY(x) VEKSSD_THREAD_ANNOTATION(lock_returned(x))
#define VEKSSD_NO_THREAD_SAFETY_ANALYSIS VEKSSD_THREAD_ANNOTATION(no_thread_safety_analysis)
#define VEKSSD_ACQUIRE(...) VEKSSD_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define VEKSSD_TRY_ACQUIRE(...) VEKSSD_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define VEKSSD_ACQUIRE_SHARED(...) VEKSSD_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define VEKSSD_RELEASE(...) VEKSSD_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define VEKSSD_RELEASE_SHARED(...) VEKSSD_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))
#define VEKSSD_RELEASE_GENERIC(...) \
  VEKSSD_THREAD_ANNOTATION(release_generic_capability(__VA_ARGS__))
