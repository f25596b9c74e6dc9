#include "platform/Platform.h"

namespace photometer::platform {

void* LocalAlloc(std::size_t nBytes) { return CurrentBoard().GetKernel().AllocateMemory(nBytes); }

void LocalFree(void* pMemory) {
  if (pMemory != nullptr) {
    CurrentBoard().GetKernel().FreeMemory(pMemory);
  }
}

}  // namespace photometer::platform
