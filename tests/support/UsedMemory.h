/// How much memory the process uses.
#pragma once

#include <cstddef>
#include <fstream>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define WITH_ADDRESS_SANITIZER 1
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define WITH_ADDRESS_SANITIZER 1
#endif
#if defined(WITH_ADDRESS_SANITIZER)
// g++ has no header for it.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace photometer::tests {

/// By which a flood may let the memory in use grow, bytes.
inline constexpr std::size_t MEMORY_GROWTH_LIMIT = std::size_t{32} * 1024 * 1024;

/// Bytes that the process has in use. The address sanitizer holds freed memory back: there, what is not freed counts.
inline std::size_t UsedBytes() {
#if defined(WITH_ADDRESS_SANITIZER)
  return __sanitizer_get_current_allocated_bytes();
#else
  std::size_t nTotal = 0;
  std::size_t nResident = 0;
  std::ifstream("/proc/self/statm") >> nTotal >> nResident;
  return nResident * 4096;
#endif
}

}  // namespace photometer::tests
