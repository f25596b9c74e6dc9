#include "platform/Platform.h"

namespace photometer::platform {

void* LocalAlloc(std::size_t nBytes, CallSite site) {
  return CallFails(LayerCall::LocalAlloc, site) ? nullptr : CurrentBoard().GetKernel().AllocateMemory(nBytes);
}

void LocalFree(void* pMemory) {
  if (pMemory != nullptr) {
    CurrentBoard().GetKernel().FreeMemory(pMemory);
  }
}

}  // namespace photometer::platform
