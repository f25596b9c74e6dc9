#include "platform/Platform.h"

namespace photometer::platform {

void InitializeCriticalSection(CRITICAL_SECTION* pSection, const char* name) {
  pSection->section = CurrentBoard().GetKernel().CreateCriticalSection(name);
}

void EnterCriticalSection(CRITICAL_SECTION* pSection) { pSection->section->Enter(); }

void LeaveCriticalSection(CRITICAL_SECTION* pSection) { pSection->section->Leave(); }

void DeleteCriticalSection(CRITICAL_SECTION* pSection) { pSection->section.reset(); }

LONG InterlockedIncrement(std::atomic<LONG>* pValue) { return pValue->fetch_add(1) + 1; }

LONG InterlockedDecrement(std::atomic<LONG>* pValue) { return pValue->fetch_sub(1) - 1; }

}  // namespace photometer::platform
