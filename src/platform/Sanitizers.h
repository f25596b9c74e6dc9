/// What the sanitizers must be told about fibers and simulated synchronisation. Costs nothing in other builds.
///
/// The thread sanitizer sees one thread per fiber. Switches order nothing: only `Acquire` and `Release` do, and they
/// stand where a real event, lock or thread would. The board's own data is read and written by all fibers without
/// them, inside an `UnobservedScope`. Acquire and release must stand outside such a scope, where they are heard.
#pragma once

#include <cstddef>

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define PHOTOMETER_THREAD_SANITIZER 1
#endif
#if __has_feature(address_sanitizer)
#define PHOTOMETER_ADDRESS_SANITIZER 1
#endif
#endif
#if defined(__SANITIZE_THREAD__)
#define PHOTOMETER_THREAD_SANITIZER 1
#endif
#if defined(__SANITIZE_ADDRESS__)
#define PHOTOMETER_ADDRESS_SANITIZER 1
#endif

#ifdef PHOTOMETER_THREAD_SANITIZER
#include <sanitizer/tsan_interface.h>
// The runtime of both compilers has these, no header declares them.
extern "C" {
void AnnotateIgnoreReadsBegin(const char* file, int line);
void AnnotateIgnoreReadsEnd(const char* file, int line);
void AnnotateIgnoreWritesBegin(const char* file, int line);
void AnnotateIgnoreWritesEnd(const char* file, int line);
void AnnotateIgnoreSyncBegin(const char* file, int line);
void AnnotateIgnoreSyncEnd(const char* file, int line);
}
#endif

namespace photometer::platform {

#ifdef PHOTOMETER_THREAD_SANITIZER
inline constexpr bool ThreadSanitizerRuns = true;
#else
inline constexpr bool ThreadSanitizerRuns = false;
#endif
#ifdef PHOTOMETER_ADDRESS_SANITIZER
inline constexpr bool AddressSanitizerRuns = true;
#else
inline constexpr bool AddressSanitizerRuns = false;
#endif

/// Everything done before `Release` of an address happens before everything after a later `Acquire` of it.
inline void Acquire([[maybe_unused]] void* pAddress) {
#ifdef PHOTOMETER_THREAD_SANITIZER
  __tsan_acquire(pAddress);
#endif
}

inline void Release([[maybe_unused]] void* pAddress) {
#ifdef PHOTOMETER_THREAD_SANITIZER
  __tsan_release(pAddress);
#endif
}

/// While one lives, the thread sanitizer ignores this fiber's reads, writes and synchronisation. May be nested.
class UnobservedScope {
 public:
#ifdef PHOTOMETER_THREAD_SANITIZER
  UnobservedScope() {
    AnnotateIgnoreReadsBegin("", 0);
    AnnotateIgnoreWritesBegin("", 0);
    AnnotateIgnoreSyncBegin("", 0);
  }
  ~UnobservedScope() {
    AnnotateIgnoreSyncEnd("", 0);
    AnnotateIgnoreWritesEnd("", 0);
    AnnotateIgnoreReadsEnd("", 0);
  }
#else
  // Not defaulted: an empty object of a type without constructor would be an unused variable.
  UnobservedScope() {}   // NOLINT(modernize-use-equals-default)
  ~UnobservedScope() {}  // NOLINT(modernize-use-equals-default)
#endif
  UnobservedScope(const UnobservedScope&) = delete;
  UnobservedScope& operator=(const UnobservedScope&) = delete;
};

}  // namespace photometer::platform
