#pragma once

// Clang's thread-safety analysis (-Wthread-safety); nothing for other compilers.
#if defined(__clang__)
#define VMR_ANNOTATE(x) __attribute__((x))
#else
#define VMR_ANNOTATE(x)
#endif

#define VMR_CAPABILITY(name) VMR_ANNOTATE(capability(name))
#define VMR_SCOPED_CAPABILITY VMR_ANNOTATE(scoped_lockable)
#define VMR_GUARDED_BY(mutex) VMR_ANNOTATE(guarded_by(mutex))
#define VMR_REQUIRES(...) VMR_ANNOTATE(requires_capability(__VA_ARGS__))
#define VMR_EXCLUDES(...) VMR_ANNOTATE(locks_excluded(__VA_ARGS__))
#define VMR_ACQUIRE(...) VMR_ANNOTATE(acquire_capability(__VA_ARGS__))
#define VMR_RELEASE(...) VMR_ANNOTATE(release_capability(__VA_ARGS__))
