#include "Memory.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

#include "platform/Sanitizers.h"

namespace {

// The simulated threads all run on one thread of the system, and so does everything else.
std::int64_t g_nBytes = 0;
std::int64_t g_nMostBytes = 0;

}  // namespace

namespace explorer {

std::int64_t BytesAllocated() { return g_nBytes; }
std::int64_t MostBytesAllocated() { return g_nMostBytes; }
void ForgetMostBytes() { g_nMostBytes = g_nBytes; }

}  // namespace explorer

#if !defined(PHOTOMETER_THREAD_SANITIZER) && !defined(PHOTOMETER_ADDRESS_SANITIZER)

// The forms for arrays and without exceptions come down to these two. Aligned ones are left to the library.
void* operator new(std::size_t nBytes) {
  void* const pMemory = std::malloc(std::max<std::size_t>(nBytes, 1));
  if (pMemory == nullptr) {
    throw std::bad_alloc();
  }
  g_nBytes += static_cast<std::int64_t>(malloc_usable_size(pMemory));
  g_nMostBytes = std::max(g_nMostBytes, g_nBytes);
  return pMemory;
}

void operator delete(void* pMemory) noexcept {
  g_nBytes -= pMemory == nullptr ? 0 : static_cast<std::int64_t>(malloc_usable_size(pMemory));
  std::free(pMemory);
}

void operator delete(void* pMemory, std::size_t /*nBytes*/) noexcept { operator delete(pMemory); }

#endif
